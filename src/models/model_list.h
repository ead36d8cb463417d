// SPDX-License-Identifier: MIT
#pragma once

/// All models, one line each: MODEL(code, family). The line defines the class <code> and adds it to
/// the catalogue; the file <code>.cpp, in lower case, holds the row and facts of the model.
#define ORVIK_MODELS(MODEL)                      \
  MODEL(T01C, HostWhiteBalance<RegisterCamera>)  \
  MODEL(T02C, CommandCamera)                     \
  MODEL(T03C, HostWhiteBalance<RegisterCamera>)  \
  MODEL(T03M, RegisterCamera)                    \
  MODEL(T04C, MarkedFrameCamera<CooledCamera>)   \
  MODEL(T05C, MarkedFrameCamera<CooledCamera>)   \
  MODEL(T06C, RegisterCamera)                    \
  MODEL(T06C_S, RegisterCamera)                  \
  MODEL(T06M, RegisterCamera)                    \
  MODEL(T06M_S, RegisterCamera)                  \
  MODEL(T07C, MarkedFrameCamera<CooledCamera>)   \
  MODEL(T08M, RegisterCamera)                    \
  MODEL(T09C, MarkedFrameCamera<Camera>)         \
  MODEL(T10C, MarkedFrameCamera<Camera>)         \
  MODEL(T10C_C, MarkedFrameCamera<CooledCamera>) \
  MODEL(T10M, MarkedFrameCamera<Camera>)         \
  MODEL(T10M_C, MarkedFrameCamera<CooledCamera>) \
  MODEL(T11C, MarkedFrameCamera<Camera>)         \
  MODEL(T11C_C, MarkedFrameCamera<CooledCamera>) \
  MODEL(T12C, MarkedFrameCamera<Camera>)         \
  MODEL(T12C_C, MarkedFrameCamera<CooledCamera>) \
  MODEL(T13C, MarkedFrameCamera<Camera>)         \
  MODEL(T13C_C, MarkedFrameCamera<CooledCamera>) \
  MODEL(T14C, MarkedFrameCamera<Camera>)         \
  MODEL(T15C, MarkedFrameCamera<Camera>)
