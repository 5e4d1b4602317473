# `cpack -G DEB`: installs into two Debian packages, one of the program and one of the library for
# other programs. Manual pages and documents are where Debian looks for them, all other files below
# CMAKE_INSTALL_PREFIX.
set(package_dir ${CMAKE_BINARY_DIR}/package)
foreach(file postinst postrm ${KEM_PACKAGE}.lintian-overrides ${KEM_LIBRARY_PACKAGE}.lintian-overrides)
  configure_file(packaging/${file}.in ${package_dir}/${file} @ONLY
                 FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
                                  GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endforeach()
configure_file(packaging/finish-package.cmake.in ${package_dir}/finish-package.cmake @ONLY)
configure_file(packaging/cpack-options.cmake.in ${package_dir}/cpack-options.cmake @ONLY)
get_target_property(loaded_package kem-support KEM_LOADED_PACKAGE)

set(CPACK_PACKAGE_CONTACT "Autoresponder Maintainers <autoresponder@panel.example>"
    CACHE STRING "Maintainer of the packages")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${KEM_PACKAGE})
set(CPACK_PACKAGE_VENDOR kem)
set(CPACK_STRIP_FILES ON)
set(CPACK_SET_DESTDIR ON)
set(CPACK_PRE_BUILD_SCRIPTS ${package_dir}/finish-package.cmake)
set(CPACK_PROJECT_CONFIG_FILE ${package_dir}/cpack-options.cmake)
set(CPACK_COMPONENTS_ALL program library)
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME ${KEM_PACKAGE})
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
# What it starts, besides sed and the shell, which every system has; and what it loads itself.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "sharutils, ${loaded_package}")
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "mail autoresponder of a hosting panel with qmail
The mail server's delivery runs it once per message. It finds the mailbox
and its rules in the panel's database, and for each rule that fires it
forwards the message and sends a MIME reply, with a charset, a subject
template and attachments of the rule's own.
.
The program is setuid root and open to one group, that of the mail
deliveries. It needs the panel's configuration in /etc/kem.")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_CONTROL_EXTRA ${package_dir}/postinst ${package_dir}/postrm)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${KEM_LIBRARY_PACKAGE})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SOURCE ${KEM_PACKAGE})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libdevel)
# libidn is not linked: a program loads it when it first converts a name.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libmariadb-dev, ${loaded_package}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS pkgconf)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "library of a hosting panel, for programs written in C++
It reads the panel's configuration, connects to its database, reads and
writes settings and domain records, reports errors as all programs of the
panel do, converts internationalised domain names and fills templates.
.
Headers, a static archive, and what CMake and pkg-config need to find them.")
include(CPack)
