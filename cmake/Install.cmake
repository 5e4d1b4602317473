# What `cmake --install` puts below CMAKE_INSTALL_PREFIX, in two components: `program`, and
# `library`, most of which is in support/install/. /etc/kem belongs to the panel: nothing here
# touches it.
set(KEM_MAIL_GROUP vmail CACHE STRING
    "Primary group of the mail server's deliveries, the only one that may run the autoresponder")
set(KEM_PACKAGE kem-autoresponder)
set(KEM_LIBRARY_PACKAGE kem-support-dev)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME program)

# Only root may run it until its group is set: it must never be setuid with a wrong group.
install(TARGETS autoresponder_program RUNTIME DESTINATION sbin
        PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE)
configure_file(${CMAKE_SOURCE_DIR}/cmake/OpenToDeliveries.cmake.in
               ${CMAKE_BINARY_DIR}/OpenToDeliveries.cmake @ONLY)
install(SCRIPT ${CMAKE_BINARY_DIR}/OpenToDeliveries.cmake)

# Not setuid: it is for root.
install(TARGETS explain_program RUNTIME DESTINATION sbin)

foreach(section 5 8)
  file(GLOB pages CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/packaging/*.${section})
  install(FILES ${pages} DESTINATION share/man/man${section})
endforeach()
install(FILES packaging/autoresponder-explain.bash
        DESTINATION share/bash-completion/completions RENAME autoresponder-explain)
install(FILES packaging/README.md packaging/kem.conf.sample packaging/galera.cnf.sample CHANGELOG.md
              docs/operators.md docs/scaling.md docs/security.md docs/haproxy.cfg docs/growth.png
              docs/remote.png docs/throughput.png
        DESTINATION share/doc/${KEM_PACKAGE})
install(FILES schema/tables.sql schema/cluster.sql schema/sample.sql
        DESTINATION share/doc/${KEM_PACKAGE}/schema)

install(FILES CHANGELOG.md docs/library.md
        DESTINATION share/doc/${KEM_LIBRARY_PACKAGE} COMPONENT library)

include(${CMAKE_SOURCE_DIR}/packaging/Package.cmake)
