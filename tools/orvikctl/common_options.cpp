// SPDX-License-Identifier: MIT
#include "tools/orvikctl/common_options.h"

#include <cstdlib>

#include "tools/orvikctl/replay.h"

namespace orvik::ctl {

void addCommonOptions(CLI::App& app, CommonOptions& options, Scope scope) {
  app.add_option("--sim", options.virtualCameras,
                 "Use a virtual camera instead of the USB bus; repeat for several. OPTIONS: "
                 "scene=stars|moon|planet|grey|dark|gradient, drift=X:Y, guide-rate=N (pixels per "
                 "second), guide-angle=DEG, seeing=N, focus=N|A:B:SECONDS (pixels), "
                 "port=usb3|usb2, serial=HHHHHHHH, seed=N, pace=real|free, light=F, "
                 "colour=white|red|blue|R:G:B, ambient=DEGC, "
                 "link=bus|unlimited|MB/s, latency=US, latch=frame|immediate, "
                 "mode-change=finish|cut, clear-halt=discard|keep, "
                 "fault=RULES (what goes wrong), flash=FILE (keeps the camera's flash)")
      ->type_name("MODEL[,OPTIONS]")
      ->allow_extra_args(false)
      ->take_all();
  if (scope == Scope::kOneCamera) {
    app.add_option(
           "--camera", options.camera,
           "Serial number, port or index from `orvikctl list`; an index shifts when cameras "
           "are plugged or unplugged. Not needed with one camera")
        ->type_name("SERIAL|PORT|N");
  }
  app.add_option_function<std::string>(
         "--record",
         [](const std::string& file) {
           // The library reads it when it first looks for cameras, which is later.
           setenv("ORVIK_RECORD", file.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
         },
         "Write down all that is said on USB, for a report of a trouble")
      ->type_name("FILE");
  app.add_option_function<std::string>(
         "--replay", [](const std::string& file) { replayRecording(file); },
         "Use the cameras of a recording instead of the USB bus; reports where the library sends "
         "other "
         "things to them")
      ->type_name("FILE")
      ->excludes("--sim");
  app.add_option_function<std::string>(
         "--replay-settings", [](const std::string& file) { startReplayWith(file); },
         "The settings.json that the recorded cameras began with; without it they begin with the "
         "defaults")
      ->type_name("FILE")
      ->needs("--replay");
  app.add_flag("--json", options.json, "Write the result as JSON");
}

}  // namespace orvik::ctl
