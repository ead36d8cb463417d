# orvik_server_assets(TARGET DIR FILES...): builds the files of the folder DIR into TARGET, which is
# linked into one program. It finds them with embeddedAssets(), see assets.h. The assembler puts the
# files into the program as they are; the tags of their contents are made here, so CMake runs again
# when a file has changed.
function(orvik_server_assets target dir)
  get_filename_component(dir ${dir} ABSOLUTE)
  set(sections "")
  set(declarations "")
  set(rows "")
  set(paths "")
  set(number 0)
  foreach(file IN LISTS ARGN)
    set(path ${dir}/${file})
    file(SHA256 ${path} hash)
    string(SUBSTRING ${hash} 0 32 tag)
    set(name orvik_server_asset_${number})
    string(APPEND sections
      "    \".global ${name}, ${name}_end\\n\"\n"
      "    \".hidden ${name}, ${name}_end\\n\"\n"
      "    \"${name}: .incbin \\\"${path}\\\"\\n\"\n"
      "    \"${name}_end: .byte 0\\n\"\n")
    string(APPEND declarations "extern const std::uint8_t ${name}[];\n"
                               "extern const std::uint8_t ${name}_end[];\n")
    string(APPEND rows
      "      {\"${file}\", {${name}, ${name}_end}, contentTypeOf(\"${file}\"), \"\\\"${tag}\\\"\"},\n")
    list(APPEND paths ${path})
    math(EXPR number "${number} + 1")
  endforeach()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${paths})

  set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}_assets.cpp)
  file(CONFIGURE OUTPUT ${source} @ONLY CONTENT [[
#include <array>
#include <cstdint>

#include "integrations/server/http/assets.h"

asm(".section .rodata, \"a\", %progbits\n"
@sections@    ".previous\n");

extern "C" {
@declarations@}

namespace orvik::server {

std::span<const Asset> embeddedAssets() {
  static const std::array<Asset, @number@> assets = {{
@rows@  }};
  return assets;
}

}  // namespace orvik::server
]])
  set_source_files_properties(${source} PROPERTIES OBJECT_DEPENDS "${paths}"
                              SKIP_PRECOMPILE_HEADERS ON SKIP_UNITY_BUILD_INCLUSION ON)
  target_sources(${target} PRIVATE ${source})
endfunction()
