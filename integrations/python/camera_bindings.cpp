// SPDX-License-Identifier: MIT
// The class CameraBase of the extension module: what a camera does without Python's help.
#include <array>
#include <chrono>
#include <cstring>
#include <future>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "bindings.h"
#include "video_reader.h"

namespace orvik::python {
namespace {

using Type = py::class_<CameraBase, std::shared_ptr<CameraBase>>;

GuideD guideLine(int line) {
  if (line < 0 || line > 3) throw py::value_error("guide lines are 0 to 3");
  return GuideD{line};
}

/// Gives a guide pulse. Ctrl-C and close() end it.
void pulse(const CameraBase& owner, int line, double seconds) {
  if (!(seconds >= 0 && seconds <= ORVIK_MAX_PULSE_MS / 1000.0)) {
    throw py::value_error("a pulse takes 0 to 60 seconds");
  }
  const GuideD which = guideLine(line);
  const auto wanted =
      std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
  const Unlocked unlocked;
  owner.session->use([&](Camera& camera) {
    std::stop_source stop;
    auto pulsing =
        std::async(std::launch::async, [&] { camera.pulse(which, wanted, stop.get_token()); });
    try {
      while (pulsing.wait_for(kSlice) != std::future_status::ready) {
        owner.session->requireOpen();
        checkSignals();
      }
    } catch (...) {
      stop.request_stop();
      pulsing.wait();
      throw;
    }
    pulsing.get();
  });
}

void setId(const CameraBase& owner, const std::string& bytes) {
  std::array<std::uint8_t, sizeof(Orvik_ID::id)> id{};
  if (bytes.size() > id.size()) throw py::value_error("an ID has at most 32 bytes");
  std::memcpy(id.data(), bytes.data(), bytes.size());
  const Unlocked unlocked;
  owner.session->use([&](Camera& camera) { camera.setId(id); });
}

void beginCooling(const CameraBase& owner, std::optional<double> to, double rate) {
  const Unlocked unlocked;
  owner.session->useCooling(to.has_value(), [&](std::optional<CoolingRun>& cooling) {
    if (cooling) cooling->begin(to, rate);
  });
}

void endCooling(const CameraBase& owner) {
  const Unlocked unlocked;
  owner.session->useCooling(false, [](std::optional<CoolingRun>& cooling) { cooling.reset(); });
}

/// Whether there is no ramp, or a warm-up has arrived.
bool isCoolingOver(const CameraBase& owner) {
  const Unlocked unlocked;
  return owner.session->useCooling(
      false, [](std::optional<CoolingRun>& cooling) { return !cooling || cooling->isOver(); });
}

void bindControls(Type& type) {
  type.def("_controls", withCamera(+[](Camera& camera) {
             return std::vector<Control>(camera.controls().begin(), camera.controls().end());
           }))
      .def("_read", withCamera(+[](Camera& camera, int control) {
             const ControlValue now = camera.read(Orvik_CONTROL_TYPE{control});
             return std::pair(now.value, now.isAuto);
           }))
      .def("_write", withCamera(+[](Camera& camera, int control, int value, bool isAuto) {
             camera.write(Orvik_CONTROL_TYPE{control}, {value, isAuto});
           }))
      .def("_format", withCamera(+[](Camera& camera) {
             const ImageFormat now = camera.format();
             return std::tuple(now.width, now.height, now.bin, int{now.type}, now.startX,
                               now.startY);
           }))
      .def("_set_format", withCamera(+[](Camera& camera, int width, int height, int bin, int kind) {
             camera.setFormat(
                 {.width = width, .height = height, .bin = bin, .type = IMG_TYPE{kind}});
           }))
      .def("_set_start", withCamera(+[](Camera& camera, int x, int y) { camera.setStart(x, y); }))
      .def("save_settings", withCamera(+[](Camera& camera) { camera.saveSettings(); }),
           "Saves the settings now, as closing the camera does.");
}

void bindCapture(Type& type) {
  type.def(
          "snap", [](const CameraBase& owner) { return snap(owner.session); },
          "Takes a single exposure with the present settings, and waits for its image.")
      .def("abort", withCamera(+[](Camera& camera) { camera.stopExposure(); }),
           "Ends the exposure for which another thread waits in snap(): that raises NoFrame.")
      .def(
          "video",
          [](const CameraBase& owner, std::optional<std::int64_t> count,
             std::optional<double> timeout) {
            return std::make_unique<VideoReader>(owner.session, count, timeout);
          },
          py::arg("count") = py::none(), py::arg("timeout") = py::none(),
          "Starts a video: `for frame in cam.video(100): ...`\n\n"
          "The end of the loop stops it, however it comes: after `count` frames, by `break`, or "
          "by\n"
          "an exception. Where the video is kept in a variable, use `with cam.video() as "
          "video`.\n\n"
          "A frame that takes longer than `timeout` seconds raises Timeout; without it, two\n"
          "exposures and some ten seconds. A loop slower than the camera loses frames, which\n"
          "`info.lost_before` counts. The memory of a frame is used again when the program has "
          "let\n"
          "go of it.")
      .def_property_readonly("readout",
                             withCamera(+[](Camera& camera) { return camera.readout(); }),
                             "Bits of the converter, bytes of an image, and expected frame rate.");
}

void bindRest(Type& type) {
  type.def(
          "pulse", &pulse, py::arg("line"), py::arg("seconds"),
          "Gives a guide pulse and waits for its end, up to 60 s. Pulses on different lines may\n"
          "overlap, from several threads. The wiring determines the direction in which line 0, 1,\n"
          "2 or 3 moves the mount.")
      .def(
          "guide_line",
          [](const CameraBase& owner, int line, bool on) {
            const GuideD which = guideLine(line);
            const Unlocked unlocked;
            owner.session->use([&](Camera& camera) { camera.setGuideLine(which, on); });
          },
          py::arg("line"), py::arg("on"),
          "Switches guide line 0, 1, 2 or 3 on or off; off also ends its pulse. It stays on until\n"
          "it is switched off, or the camera closed.")
      .def("_begin_cooling", &beginCooling)
      .def("_end_cooling", &endCooling)
      .def("_is_cooling_over", &isCoolingOver)
      .def_property_readonly("cooler", withCamera(+[](Camera& camera) { return camera.cooler(); }),
                             "The status of the cooler; an error on a camera without one.")
      .def_property("id", withCamera(+[](Camera& camera) { return camera.id(); }), &setId,
                    "32 bytes of the user's choice in the camera's flash; not during capture.\n"
                    "Writing takes about a second; fewer bytes are filled up with zeros.")
      .def_property_readonly(
          "firmware", withCamera(+[](Camera& camera) { return camera.firmware().version(); }),
          "The versions of the camera.")
      .def_property_readonly(
          "dark", [](const CameraBase& owner) { return DarkPart{owner}; }, "Its dark frame.")
      .def_property_readonly(
          "hot_pixels", [](const CameraBase& owner) { return HotPixelPart{owner}; },
          "Its table of hot pixels.");
}

}  // namespace

void bindCamera(py::module_& module) {
  bindCorrections(module);
  Type type(module, "CameraBase", "An open camera without the conveniences of Camera.");
  type.def(py::init([](const std::string& identity) {
             const auto close = [](Session* session) {
               const Unlocked unlocked;
               delete session;
             };
             const Unlocked unlocked;
             return std::make_shared<CameraBase>(
                 CameraBase{std::shared_ptr<Session>(new Session(identity), close)});
           }),
           py::arg("identity") = "",
           "Opens a camera by its serial number or port; without either, the only one there is.")
      .def(
          "close",
          [](const CameraBase& owner) {
            const Unlocked unlocked;
            owner.session->close();
          },
          "Ends what other threads wait for, and closes the camera. Images stay valid.")
      .def_property_readonly(
          "label", [](const CameraBase& owner) { return owner.session->label(); },
          "How messages name it: \"Vek T15C 0012ABCD\".")
      .def_property_readonly(
          "info", [](const CameraBase& owner) { return record(owner.session->info()); },
          "Its properties.");
  bindControls(type);
  bindCapture(type);
  bindRest(type);
}

}  // namespace orvik::python
