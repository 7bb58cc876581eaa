# The layering, enforced by the compiler.
#
# Every header is included by its path from the top of the tree
# ("platform/jet/Database.h"). Instead of one include path that shows every
# header to every file, each library publishes its own headers under a folder
# of its own in the build tree, and a target sees only the headers of itself
# and of the libraries it links. An include that points the wrong way, or at
# a library the target does not link, fails to compile.
#
# The published headers are symbolic links to the sources, so an edited header
# needs no new configure; a new header is picked up by CMake's re-glob.

# ql_publish_headers(<target> [FILES <header>...])
#   Publishes the headers of the calling folder (all of its *.h unless FILES
#   names some) as "<folder>/<name>.h" to <target> and to what links it.
#   Executables keep them to themselves.
function(ql_publish_headers target)
  cmake_parse_arguments(ARG "" "" "FILES" ${ARGN})
  file(RELATIVE_PATH folder "${CMAKE_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
  if(ARG_FILES)
    list(TRANSFORM ARG_FILES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" OUTPUT_VARIABLE headers)
  else()
    file(GLOB headers CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
  endif()
  ql_publish_header_files(${target} "${folder}" ${headers})
endfunction()

# ql_publish_header_files(<target> <folder> <header>...)
#   The same for headers named one by one, for a folder that is not a target's
#   own (the header at the top of platform/).
function(ql_publish_header_files target folder)
  set(root "${CMAKE_BINARY_DIR}/published/${target}")
  file(REMOVE_RECURSE "${root}")
  file(MAKE_DIRECTORY "${root}/${folder}")
  foreach(header IN LISTS ARGN)
    get_filename_component(name "${header}" NAME)
    file(CREATE_LINK "${header}" "${root}/${folder}/${name}" SYMBOLIC)
  endforeach()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    target_include_directories(${target} INTERFACE "${root}")
  elseif(type STREQUAL "EXECUTABLE")
    target_include_directories(${target} PRIVATE "${root}")
  else()
    target_include_directories(${target} PUBLIC "${root}")
  endif()
endfunction()
