# folder_library(NAME [SOURCES...] [LINKS...] [PRIVATE_LINKS...])
#
# One static library per source folder. A target sees the headers of its own folder and of the
# folders it links, and of no other: each folder gets an include root of its own in the build tree,
# so that an #include against the direction of the architecture does not compile. Each header is
# also compiled alone, as part of the target all_verify_interface_header_sets.
function(folder_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  set(include_root ${CMAKE_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${include_root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_root}/${name} SYMBOLIC)
  file(GLOB headers CONFIGURE_DEPENDS ${include_root}/${name}/*.h)
  add_library(${name} STATIC ${ARG_SOURCES})
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${include_root} FILES ${headers})
  set_target_properties(${name} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
  target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
endfunction()
