# folder_library(NAME [DIRECTORY folder] [SUBFOLDER folder] [SOURCES...] [LINKS...]
#                [PRIVATE_LINKS...])
#
# Makes a library of one source folder: static, or header-only without SOURCES. Each folder has its
# own include root in the build tree, so that a target finds only the headers of its own folder and
# of those that it links: an #include against the direction of the architecture does not compile.
# DIRECTORY is the folder's name in an #include, by default NAME. SUBFOLDER is its path below the
# calling CMakeLists.txt, by default that folder itself. The target all_verify_interface_header_sets
# compiles each header alone.
function(folder_library name)
  cmake_parse_arguments(ARG "" "DIRECTORY;SUBFOLDER" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  if(NOT ARG_DIRECTORY)
    set(ARG_DIRECTORY ${name})
  endif()
  set(include_root ${CMAKE_BINARY_DIR}/include/${name})
  get_filename_component(above ${include_root}/${ARG_DIRECTORY} DIRECTORY)
  file(MAKE_DIRECTORY ${above})
  list(TRANSFORM ARG_SOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/${ARG_SUBFOLDER}/")
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${ARG_SUBFOLDER} ${include_root}/${ARG_DIRECTORY} SYMBOLIC)
  file(GLOB headers CONFIGURE_DEPENDS ${include_root}/${ARG_DIRECTORY}/*.h)
  if(ARG_SOURCES)
    add_library(${name} STATIC ${ARG_SOURCES})
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${include_root} FILES ${headers})
    target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
  else()
    add_library(${name} INTERFACE)
    target_sources(${name} INTERFACE FILE_SET HEADERS BASE_DIRS ${include_root} FILES ${headers})
    target_link_libraries(${name} INTERFACE ${ARG_LINKS})
  endif()
  set_target_properties(${name} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
endfunction()
