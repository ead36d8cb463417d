// SPDX-License-Identifier: MIT
#include "tools/orvikctl/scratch_folder.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "imaging/save_file.h"

namespace orvik::ctl {

ScratchFolder::ScratchFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "orvikctl-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) imaging::failWrite(name, errno);
  path_ = name;
}

ScratchFolder::~ScratchFolder() {
  // What cannot be removed here is removed by the system with its other temporary files.
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace orvik::ctl
