// SPDX-License-Identifier: MIT
// The class CameraBase of the extension module: what a camera does without Python's help.
#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "bindings.h"
#include "video_reader.h"

namespace orvik::python {
namespace {

using Type = py::class_<Session, std::shared_ptr<Session>>;

template <typename Part>
Part partOf(std::shared_ptr<Session> session) {
  return {std::move(session)};
}

GuideD guideLine(int line) {
  if (line < 0 || line > 3) throw py::value_error("guide lines are 0 to 3");
  return GuideD{line};
}

void pulse(Session& session, int line, double seconds) {
  if (!(seconds >= 0 && seconds <= ORVIK_MAX_PULSE_MS / 1000.0)) {
    throw py::value_error("a pulse takes 0 to 60 seconds");
  }
  const GuideD which = guideLine(line);
  const std::chrono::duration<double> wanted(seconds);
  session.wait([&](Camera& camera, const std::stop_token& stop) {
    camera.pulse(which, std::chrono::round<std::chrono::milliseconds>(wanted), stop);
  });
}

void setId(Session& session, const std::string& bytes) {
  std::array<std::uint8_t, sizeof(Orvik_ID::id)> id{};
  if (bytes.size() > id.size()) throw py::value_error("an ID has at most 32 bytes");
  std::copy(bytes.begin(), bytes.end(), id.begin());
  session.use([&](Camera& camera) { camera.setId(id); });
}

void bindControls(Type& type) {
  type.def("_controls", method(+[](Camera& camera) {
             return std::vector<Control>(camera.controls().begin(), camera.controls().end());
           }))
      .def("_read", method(+[](Camera& camera, int control) {
             const ControlValue now = camera.read(Orvik_CONTROL_TYPE{control});
             return std::pair(now.value, now.isAuto);
           }))
      .def("_write", method(+[](Camera& camera, int control, int value, bool isAuto) {
             camera.write(Orvik_CONTROL_TYPE{control}, {value, isAuto});
           }))
      .def("_format", method(+[](Camera& camera) {
             const ImageFormat now = camera.format();
             return std::tuple(now.width, now.height, now.bin, int{now.type}, now.startX,
                               now.startY);
           }))
      .def("_set_format", method(+[](Camera& camera, int width, int height, int bin, int kind) {
             camera.setFormat(
                 {.width = width, .height = height, .bin = bin, .type = IMG_TYPE{kind}});
           }))
      .def("_set_start", method(+[](Camera& camera, int x, int y) { camera.setStart(x, y); }))
      .def("save_settings", method(+[](Camera& camera) { camera.saveSettings(); }),
           "Saves the settings now, as closing the camera does.");
}

void bindCapture(Type& type) {
  const auto video = [](std::shared_ptr<Session> session, std::optional<std::int64_t> count,
                        std::optional<double> timeout) {
    return std::make_unique<VideoReader>(std::move(session), count, timeout);
  };
  type.def(
          "snap", [](Session& session) { return record(session.snap(), session.info()); },
          "Takes a single exposure with the present settings, and waits for its image.")
      .def("abort", method(+[](Camera& camera) { camera.stopExposure(); }),
           "Ends the exposure for which another thread waits in snap(): that raises NoFrame.")
      .def("video", video, py::arg("count") = py::none(), py::arg("timeout") = py::none(),
           "Starts a video: `for frame in cam.video(100): ...`\n\n"
           "The end of the loop stops it, however it comes: after `count` frames, by `break`, or\n"
           "by an exception. A video that is kept in a variable needs `with cam.video() as video`."
           "\n\n"
           "A frame that takes longer than `timeout` seconds raises Timeout; without it, two\n"
           "exposures and some ten seconds. A loop slower than the camera loses frames, which\n"
           "`info.lost_before` counts. The memory of a frame is used again when the program has\n"
           "let go of it.")
      .def_property_readonly("readout", method(+[](Camera& camera) { return camera.readout(); }),
                             "Bits of the converter, bytes of an image, and expected frame rate.");
}

void bindGuiding(Type& type) {
  type.def("pulse", &pulse, py::arg("line"), py::arg("seconds"),
           "Gives a guide pulse and waits for its end, up to 60 s. Pulses on different lines may\n"
           "overlap, from several threads. The wiring determines the direction in which line 0,\n"
           "1, 2 or 3 moves the mount.")
      .def("guide_line", method(+[](Camera& camera, int line, bool on) {
             camera.setGuideLine(guideLine(line), on);
           }),
           py::arg("line"), py::arg("on"),
           "Switches guide line 0, 1, 2 or 3 on or off; off also ends its pulse. It stays on\n"
           "until it is switched off, or the camera closed.");
}

void bindCooling(Type& type) {
  const auto begin = [](Session& session, std::optional<int> to, double rate) {
    session.use([&](Camera&) { session.cooling().begin(to, rate); });
  };
  const auto isOver = [](Session& session) {
    return session.use([&](Camera&) { return session.cooling().isOver(); });
  };
  const auto stop = [](Session& session) {
    session.use([&](Camera&) { session.cooling().end(); });
  };
  type.def("_begin_cooling", begin)
      .def("_is_cooling_over", isOver)
      .def("stop_cooling", stop, "Switches the cooler off at once, wherever the ramp is.")
      .def_property_readonly("cooler", method(+[](Camera& camera) { return camera.cooler(); }),
                             "The status of the cooler; an error on a camera without one.");
}

}  // namespace

void bindCamera(py::module_& module) {
  bindCorrections(module);
  Type type(module, "CameraBase", "An open camera without the conveniences of Camera.");
  type.def(py::init<const std::string&>(), py::arg("identity") = "",
           "Opens a camera by its serial number or port; without either, the only one there is.")
      .def("close", &Session::close,
           "Ends what other threads wait for, and closes the camera. Images stay valid.")
      .def_property_readonly("label", &Session::label,
                             "How messages name it: \"Vek T15C 0012ABCD\".")
      .def_property_readonly(
          "info", [](Session& session) { return record(session.info()); }, "Its properties.")
      .def_property("id", method(+[](Camera& camera) { return camera.id(); }), &setId,
                    "32 bytes of the user's choice in the camera's flash; not during capture.\n"
                    "Writing takes about a second; fewer bytes are filled up with zeros.")
      .def_property_readonly("firmware",
                             method(+[](Camera& camera) { return camera.firmware().version(); }),
                             "The versions of the camera.")
      .def_property_readonly("dark", &partOf<DarkPart>, "Its dark frame.")
      .def_property_readonly("hot_pixels", &partOf<HotPixelPart>, "Its table of hot pixels.");
  bindControls(type);
  bindCapture(type);
  bindGuiding(type);
  bindCooling(type);
}

}  // namespace orvik::python
