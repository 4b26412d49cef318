# The Debian package (`make package`, or `cpack -G DEB` in a build tree
# configured with -DCMAKE_INSTALL_PREFIX=/usr). Its dependencies come from
# dpkg-shlibdeps over the installed programs; the maintainer scripts refresh
# the MIME, desktop entry and icon caches when those tools are present.

set(CALVORIN_PACKAGE_MAINTAINER "Calvorin developers <calvorin-devel@example.org>"
    CACHE STRING "Maintainer named in the Debian package")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME calvorin)
set(CPACK_PACKAGE_VENDOR "Calvorin developers")
set(CPACK_PACKAGE_CONTACT "${CALVORIN_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "personal reminders for the Linux desktop")
set(CPACK_PACKAGE_DESCRIPTION
"Calvorin keeps your appointments in event sets and reminds you when they
fall due: with prewarnings before an event, the event itself, and nagging
after it until you say stop. An event can show a message, run a command or
open a file; add-ons can do more. A tiny companion program holds the next
wake-up time, so Calvorin itself need not stay in memory.
.
The package holds the application, the companion, the command-line tool
calvorinctl, the example add-on, the user manual and the headers for
writing add-ons.")
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Documents and event sets open in the desktop's default applications.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils, shared-mime-info, desktop-file-utils")

foreach(script postinst postrm)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/${script}.in
                 ${CMAKE_BINARY_DIR}/debian/${script} @ONLY
                 FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
                                  GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endforeach()
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_BINARY_DIR}/debian/postinst ${CMAKE_BINARY_DIR}/debian/postrm)
# The autostart entry is the one file in /etc: a configuration file that the
# administrator may change (or switch off) and that an upgrade keeps.
if(IS_ABSOLUTE "${calvorin_autostart_dir}")
  file(WRITE ${CMAKE_BINARY_DIR}/debian/conffiles "${calvorin_autostart_dir}/calvorin.desktop\n")
  list(APPEND CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/debian/conffiles)
endif()
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
