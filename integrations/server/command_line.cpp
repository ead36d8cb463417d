// SPDX-License-Identifier: MIT
#include "integrations/server/command_line.h"

#include "integrations/server/camera/software.h"

namespace orvik::server {

void defineCommandLine(CLI::App& program, Options& options) {
  program.name("orvik-server");
  program.description(
      "Lends the cameras of this machine to programs that speak ASCOM Alpaca, and shows each in a "
      "web page.");
  program.set_version_flag("--version", software());
  program
      .add_option("--sim", options.virtualCameras,
                  "Use this virtual camera instead of the USB bus; can be given several times")
      ->type_name("MODEL[,OPTIONS]")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  program
      .add_option("--listen", options.listen,
                  "Where to serve: an address of this machine, 0.0.0.0 or [::] for all of them; "
                  "port 0 for any free one. Other than loopback, everybody on the network can use "
                  "the cameras, unless --token-file is given for the page")
      ->type_name("ADDRESS:PORT")
      ->capture_default_str();
  program
      .add_option("--host", options.hosts,
                  "Another name under which browsers reach this server; can be given several "
                  "times. Addresses and the machine's own name need not be given")
      ->type_name("HOST")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  program
      .add_option("--token-file", options.tokenFile,
                  "File whose first line is a token that the page, its files and everything that "
                  "changes a camera need")
      ->type_name("FILE");
  program.add_option("--name", options.name, "How the server calls itself to clients")
      ->type_name("TEXT")
      ->capture_default_str();
  program.add_option("--location", options.location, "Where it stands, for clients")
      ->type_name("TEXT");
  program
      .add_option("--folder", options.folder,
                  "Where captures of the page are stored (Pictures/Orvik in the home folder)")
      ->type_name("FOLDER");
  program
      .add_option("--guide-lines", options.guideLines,
                  "Guide lines for north, south, east and west")
      ->type_name("LINES")
      ->capture_default_str();
  program.add_flag("--no-discovery", options.noDiscovery,
                   "Do not answer clients that search the network for servers");
  program.add_option("--discovery-port", options.discoveryPort, "UDP port of such clients")
      ->type_name("N")
      ->capture_default_str();
  program.footer(
      "Examples:\n"
      "  orvik-server --sim T15C,scene=moon --sim T10C_C\n"
      "  orvik-server --listen 0.0.0.0:11111 --token-file /etc/orvik/token\n");
}

}  // namespace orvik::server
