// SPDX-License-Identifier: MIT
#include "tools/simcam/command_line.h"

namespace orvik::simcam {

void defineCommandLine(CLI::App& program, Options& options) {
  program.name("orvik-simcam");
  program.description(
      "Exports virtual cameras by USB/IP, to this machine's kernel or to another machine.");
  program
      .add_option("CAMERA", options.cameras,
                  "Cameras to plug in, as MODEL or MODEL,KEY=VALUE,... (one T15C)")
      ->type_name("MODEL[,OPTIONS]");
  program.add_flag("--empty", options.empty, "Start without a camera; plug them in with commands");
  program.add_option("--listen", options.listen, "IPv4 address to listen on")
      ->type_name("ADDRESS")
      ->capture_default_str();
  program.add_option("--port", options.port, "TCP port, 0 for any")
      ->type_name("N")
      ->capture_default_str();
  program.add_option("--scene", options.scene, "Scene of all cameras without one of their own")
      ->type_name("stars|moon|planet|grey|dark|gradient");
  program.add_option("--seed", options.seed, "Seed of all cameras without one of their own")
      ->type_name("N");
  program
      .add_option("--fault", options.faults,
                  "Faults of all cameras without some of their own, in the language of "
                  "docs/faults.md")
      ->type_name("RULES");
  program.footer(
      "Commands on standard input: list, plug, unplug, quit, help.\n"
      "\n"
      "Examples:\n"
      "  orvik-simcam T15C T05C,scene=moon &\n"
      "  sudo modprobe vhci-hcd\n"
      "  sudo usbip attach -r localhost -b 1-1\n");
}

}  // namespace orvik::simcam
