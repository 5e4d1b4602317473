# folder_library(NAME [SOURCES...] [LINKS...])
#
# One static library per source folder. A target sees the headers of its own folder and of the
# folders it links, and of no other: each folder gets an include root of its own in the build tree,
# so that an #include against the direction of the architecture does not compile.
function(folder_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  set(include_root ${CMAKE_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${include_root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_root}/${name} SYMBOLIC)
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${include_root})
  target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
endfunction()
