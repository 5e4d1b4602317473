# Sets STATIC_CLIENT to the static libraries of the database client, its TLS and its compression;
# empty if one is missing. The C library stays shared: it loads modules that have to be of its own
# version.
set(STATIC_CLIENT)
foreach(name ${MARIADB_STATIC_LIBRARIES} ${CRYPTO_STATIC_LIBRARIES})
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
