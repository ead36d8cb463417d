// SPDX-License-Identifier: MIT
#pragma once

namespace orvik::test {

/// What the library does wrong, seen through orvik.h.
enum class LibraryFault {
  kNone,
  kNameWithoutEnd,      ///< the display name fills its field
  kTypesOutOfOrder,     ///< the list of image types is turned round
  kCountsClosedAsOpen,  ///< a closed camera reports its format
  kForgetsNulls,        ///< a null pointer is accepted
  kTakesAnyFormat,      ///< formats that the camera refused are called good
  kForgetsBufferSize,   ///< a frame is written into too small a buffer
  kGoesBeyondLimits,    ///< a control can be read above its limit
  kStaysAutomatic,      ///< automatic cannot be switched off
  kBinsWrong,           ///< another bin is reported than was set
  kStartsElsewhere,     ///< the region lies beside where it was put
  kWritesBehindFrame,   ///< a byte is written behind the frame
  kLeavesLastRow,       ///< a frame's last row is not written
  kSwapsBytes,          ///< samples of 16 bits have their high byte first
  kWaitsTooLong,        ///< waiting for a frame takes a second longer
  kLosesSilently,       ///< lost frames are not counted
  kMixesModes,          ///< video may be started during a snapshot
  kCannotAbort,         ///< an aborted snapshot goes on
  kGuideFails,          ///< guide line 3 does not work
  kDarkStaysOff,        ///< a dark that was loaded is not in use
  kMarkChanges,         ///< the mark in the flash reads differently each time
  kControlsShared,      ///< gamma of one camera shows in all
};

/// The fault from now on. The functions of orvik.h in this program are the library's, but for it.
extern LibraryFault libraryFault;

}  // namespace orvik::test
