// SPDX-License-Identifier: MIT
#pragma once

/// All models: a line each, MODEL(code, family). The line makes the class CCamera<code> and puts it
/// into the catalogue; the file <code>.cpp, in small letters, holds the model's row and facts.
#define ORVIK_MODELS(MODEL)                     \
  MODEL(T01C, HostWhiteBalance<RegisterCamera>) \
  MODEL(T02C, CommandCamera)                    \
  MODEL(T03C, HostWhiteBalance<RegisterCamera>) \
  MODEL(T03M, RegisterCamera)                   \
  MODEL(T04C, MarkedFrameCamera<CCameraCool>)   \
  MODEL(T05C, MarkedFrameCamera<CCameraCool>)   \
  MODEL(T06C, RegisterCamera)                   \
  MODEL(T06C_S, RegisterCamera)                 \
  MODEL(T06M, RegisterCamera)                   \
  MODEL(T06M_S, RegisterCamera)                 \
  MODEL(T07C, MarkedFrameCamera<CCameraCool>)   \
  MODEL(T08M, RegisterCamera)                   \
  MODEL(T09C, MarkedFrameCamera<CCameraBase>)   \
  MODEL(T10C, MarkedFrameCamera<CCameraBase>)   \
  MODEL(T10C_C, MarkedFrameCamera<CCameraCool>) \
  MODEL(T10M, MarkedFrameCamera<CCameraBase>)   \
  MODEL(T10M_C, MarkedFrameCamera<CCameraCool>) \
  MODEL(T11C, MarkedFrameCamera<CCameraBase>)   \
  MODEL(T11C_C, MarkedFrameCamera<CCameraCool>) \
  MODEL(T12C, MarkedFrameCamera<CCameraBase>)   \
  MODEL(T12C_C, MarkedFrameCamera<CCameraCool>) \
  MODEL(T13C, MarkedFrameCamera<CCameraBase>)   \
  MODEL(T13C_C, MarkedFrameCamera<CCameraCool>) \
  MODEL(T14C, MarkedFrameCamera<CCameraBase>)   \
  MODEL(T15C, MarkedFrameCamera<CCameraBase>)
