# SPDX-License-Identifier: Apache-2.0
# Pages and scripts are kept as the files that a browser would read, and packed into the programs that
# write them.
#
# pelorin_pack_texts(OUTPUT HEADER NAMESPACE name:file...): a source in the current build folder that
# defines `const std::string_view name` with the text of `file` for each pair. HEADER declares them.
function(pelorin_pack_texts output header namespace)
  set(source "// SPDX-License-Identifier: Apache-2.0\n#include \"${header}\"\nnamespace ${namespace} {\n")
  foreach(pair IN LISTS ARGN)
    string(REPLACE ":" ";" pair "${pair}")
    list(GET pair 0 name)
    list(GET pair 1 file)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    file(READ "${file}" text)
    string(APPEND source "const std::string_view ${name} = R\"PAGE(${text})PAGE\";\n")
  endforeach()
  string(APPEND source "}  // namespace ${namespace}\n")
  file(GENERATE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/${output}" CONTENT "${source}")
endfunction()
