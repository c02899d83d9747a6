# SPDX-License-Identifier: Apache-2.0
# Rooms: the folders of the architecture as targets.
#
# A room sees the headers of the rooms that it links and no others: every room publishes its headers
# through a folder of its own in the build tree (links to the sources, under their full path), and
# only the link list of a target puts such a folder on the include path. A forbidden #include is
# therefore a file that does not exist, and fails to build.

# pelorin_publish_headers(TARGET SCOPE header...): headers of the current folder, under their path
# from the root, and the check that each compiles alone.
function(pelorin_publish_headers target scope)
  file(RELATIVE_PATH room_path "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
  set(include_root "${PROJECT_BINARY_DIR}/rooms/${target}")
  set(checks)
  foreach(header IN LISTS ARGN)
    set(published "${include_root}/${room_path}/${header}")
    get_filename_component(folder "${published}" DIRECTORY)
    file(MAKE_DIRECTORY "${folder}")
    file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}/${header}" "${published}" SYMBOLIC)
    string(MAKE_C_IDENTIFIER "${header}" stem)
    set(check "${PROJECT_BINARY_DIR}/header_checks/${target}/${stem}.cc")
    file(CONFIGURE OUTPUT "${check}"
         CONTENT "#include \"${room_path}/${header}\"\n" @ONLY)
    list(APPEND checks "${check}")
  endforeach()
  target_include_directories(${target} ${scope} "${include_root}")
  if(checks AND PELORIN_CHECK_HEADERS)
    add_library(${target}_headers_alone OBJECT ${checks})
    target_link_libraries(${target}_headers_alone PRIVATE ${target})
    pelorin_target_defaults(${target}_headers_alone)
  endif()
endfunction()

# pelorin_room(NAME HEADERS ... SOURCES ... LINKS ...): one room of libpelorin in the current folder.
# LINKS are the arrows that leave the room.
function(pelorin_room name)
  cmake_parse_arguments(ROOM "" "" "HEADERS;SOURCES;LINKS" ${ARGN})
  add_library(${name} OBJECT ${ROOM_SOURCES})
  target_link_libraries(${name} PUBLIC ${ROOM_LINKS})
  pelorin_target_defaults(${name})
  pelorin_publish_headers(${name} PUBLIC ${ROOM_HEADERS})
endfunction()

# pelorin_library(NAME ROOMS ...): the shared library made of rooms.
function(pelorin_library name)
  cmake_parse_arguments(LIB "" "" "ROOMS" ${ARGN})
  set(objects)
  foreach(room IN LISTS LIB_ROOMS)
    list(APPEND objects $<TARGET_OBJECTS:${room}>)
  endforeach()
  add_library(${name} SHARED ${objects})
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE CXX)
  foreach(room IN LISTS LIB_ROOMS)
    target_include_directories(${name} INTERFACE
      $<TARGET_PROPERTY:${room},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  target_link_libraries(${name} PUBLIC pelorin_host Qt5::Core Boost::headers
                                PRIVATE ZLIB::ZLIB JsonCpp::JsonCpp)
  pelorin_target_defaults(${name})
  pelorin_no_undefined(${name})
endfunction()
