# STATIC_CLIENT: what to link for a client library that a program brings along, with the TLS and the
# compression that it needs; empty where there is no static one. Not the C library: it loads modules
# that have to be of its own version.
set(STATIC_CLIENT)
foreach(name ${MARIADB_STATIC_LIBRARIES})
  if(name MATCHES "^(dl|m|pthread)$")
    list(APPEND STATIC_CLIENT ${name})
    continue()
  endif()
  find_library(STATIC_${name}_LIBRARY lib${name}.a HINTS ${MARIADB_STATIC_LIBRARY_DIRS})
  mark_as_advanced(STATIC_${name}_LIBRARY)
  if(NOT STATIC_${name}_LIBRARY)
    set(STATIC_CLIENT)
    break()
  endif()
  list(APPEND STATIC_CLIENT ${STATIC_${name}_LIBRARY})
endforeach()
