# Calvorin as a desktop program: what lands in the build tree beside the
# programs, and everything `cmake --install` puts in place (GNUInstallDirs,
# relocatable: every destination is relative to the prefix, except the
# autostart entry of a /usr installation, which belongs in /etc/xdg).
#
#   bin/calvorin, bin/calvorinctl
#   libexec/calvorin/CalvorinBackground
#   lib/calvorin/add-ons/*.so            the shipped add-ons
#   include/calvorin/*.h                 the add-on SDK, with lib/pkgconfig/calvorin-addon.pc
#   share/doc/<project>/Calvorin documentation.html
#   share/applications/calvorin.desktop
#   share/mime/packages/calvorin.xml
#   share/icons/hicolor/{scalable,NxN}/{apps,mimetypes}/
#   share/man/man1/calvorin.1.gz, calvorinctl.1.gz
#   etc/xdg/autostart/calvorin.desktop   runs `calvorin -background` at login
#
# The build tree mirrors what the programs look up beside themselves:
# <build>/bin holds the help document, <build>/bin/add-ons the shipped
# add-ons (addons/*/CMakeLists.txt put them there).

set(CALVORIN_DATA_DIR ${PROJECT_SOURCE_DIR}/data)
set(CALVORIN_MANUAL_NAME "Calvorin documentation.html")
set(CALVORIN_MIME_TYPE "application/x-vnd.QZ-CalvorinEventSet")
set(CALVORIN_MIME_ICON "application-x-vnd.QZ-CalvorinEventSet")
set(CALVORIN_ICON_SIZES 16 22 24 32 48 64 128 256)

# --- the build tree -----------------------------------------------------

# The help document beside the programs, as the application looks for it.
set(calvorin_manual_copy "${CMAKE_BINARY_DIR}/bin/${CALVORIN_MANUAL_NAME}")
add_custom_command(
  OUTPUT "${calvorin_manual_copy}"
  COMMAND ${CMAKE_COMMAND} -E copy_if_different
          "${CALVORIN_DATA_DIR}/manual/${CALVORIN_MANUAL_NAME}" "${calvorin_manual_copy}"
  DEPENDS "${CALVORIN_DATA_DIR}/manual/${CALVORIN_MANUAL_NAME}"
  COMMENT "Copying the help document beside the programs"
  VERBATIM)
add_custom_target(calvorin_manual ALL DEPENDS "${calvorin_manual_copy}")

# The PNG icons, rendered from the SVG drawings. The smallest size has a
# drawing of its own on the pixel grid so that it stays sharp.
find_program(CALVORIN_RSVG_CONVERT rsvg-convert)
set(calvorin_icon_root ${CMAKE_BINARY_DIR}/data/icons/hicolor)
set(calvorin_rendered_icons)
if(CALVORIN_RSVG_CONVERT)
  foreach(size ${CALVORIN_ICON_SIZES})
    set(app_source ${CALVORIN_DATA_DIR}/icons/calvorin.svg)
    if(size EQUAL 16)
      set(app_source ${CALVORIN_DATA_DIR}/icons/calvorin-16.svg)
    endif()
    set(folder ${calvorin_icon_root}/${size}x${size})
    foreach(kind apps mimetypes)
      if(kind STREQUAL "apps")
        set(source ${app_source})
        set(name calvorin)
      else()
        set(source ${CALVORIN_DATA_DIR}/icons/${CALVORIN_MIME_ICON}.svg)
        set(name ${CALVORIN_MIME_ICON})
      endif()
      set(png ${folder}/${kind}/${name}.png)
      add_custom_command(
        OUTPUT ${png}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}/${kind}
        COMMAND ${CALVORIN_RSVG_CONVERT} --width ${size} --height ${size} --output ${png} ${source}
        DEPENDS ${source}
        VERBATIM)
      list(APPEND calvorin_rendered_icons ${png})
    endforeach()
  endforeach()
else()
  message(WARNING "rsvg-convert (Debian package librsvg2-bin) was not found: the PNG icons "
                  "are not made and only the scalable icons are installed. "
                  "scripts/install-deps installs it.")
endif()
add_custom_target(calvorin_icons ALL DEPENDS ${calvorin_rendered_icons})

# --- installed programs and add-ons --------------------------------------

install(TARGETS calvorinctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The application is built only once its sources exist.
if(TARGET calvorin)
  install(TARGETS calvorin RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(TARGETS CalvorinBackground RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/calvorin)
install(TARGETS calvorin_addon_log_to_file
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/calvorin/add-ons)

# --- the add-on SDK ----------------------------------------------------------

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/calvorin
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")

# The pkg-config file of a system installation (/usr) names its folders
# outright; any other finds them relative to itself, so that such an
# installation can be moved as a whole.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(CALVORIN_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
  set(CALVORIN_PC_INCLUDEDIR ${CMAKE_INSTALL_FULL_INCLUDEDIR})
  set(CALVORIN_PC_LIBDIR ${CMAKE_INSTALL_FULL_LIBDIR})
else()
  set(calvorin_pc_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
  foreach(name PREFIX INCLUDEDIR LIBDIR)
    if(name STREQUAL "PREFIX")
      set(target ${CMAKE_INSTALL_PREFIX})
    else()
      set(target ${CMAKE_INSTALL_FULL_${name}})
    endif()
    file(RELATIVE_PATH relative ${calvorin_pc_dir} ${target})
    string(REGEX REPLACE "/+$" "" relative "${relative}")
    set(CALVORIN_PC_${name} "\${pcfiledir}/${relative}")
  endforeach()
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/calvorin-addon.pc.in
               ${CMAKE_BINARY_DIR}/data/calvorin-addon.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/data/calvorin-addon.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# --- documents ---------------------------------------------------------------

install(FILES "${CALVORIN_DATA_DIR}/manual/${CALVORIN_MANUAL_NAME}"
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
# Man pages are installed compressed, as man(1) and Debian expect.
find_program(CALVORIN_GZIP gzip)
set(calvorin_man_pages)
foreach(page calvorin.1 calvorinctl.1)
  if(CALVORIN_GZIP)
    set(packed ${CMAKE_BINARY_DIR}/data/man/${page}.gz)
    add_custom_command(
      OUTPUT ${packed}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/data/man
      COMMAND ${CMAKE_COMMAND} -E copy ${CALVORIN_DATA_DIR}/man/${page} ${CMAKE_BINARY_DIR}/data/man/${page}
      COMMAND ${CALVORIN_GZIP} -9 -n -f ${CMAKE_BINARY_DIR}/data/man/${page}
      DEPENDS ${CALVORIN_DATA_DIR}/man/${page}
      VERBATIM)
    list(APPEND calvorin_man_pages ${packed})
  else()
    list(APPEND calvorin_man_pages ${CALVORIN_DATA_DIR}/man/${page})
  endif()
endforeach()
add_custom_target(calvorin_man_pages ALL DEPENDS ${calvorin_man_pages})
install(FILES ${calvorin_man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# --- desktop integration -------------------------------------------------

install(FILES ${CALVORIN_DATA_DIR}/calvorin.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${CALVORIN_DATA_DIR}/calvorin-mime.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages
        RENAME calvorin.xml)

set(calvorin_hicolor ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES ${CALVORIN_DATA_DIR}/icons/calvorin.svg
        DESTINATION ${calvorin_hicolor}/scalable/apps)
install(FILES ${CALVORIN_DATA_DIR}/icons/${CALVORIN_MIME_ICON}.svg
        DESTINATION ${calvorin_hicolor}/scalable/mimetypes)
if(CALVORIN_RSVG_CONVERT)
  install(DIRECTORY ${calvorin_icon_root}/ DESTINATION ${calvorin_hicolor}
          FILES_MATCHING PATTERN "*.png")
endif()

# XDG autostart entries are read from $XDG_CONFIG_DIRS/autostart, which is
# /etc/xdg for a system installation: GNUInstallDirs gives /etc as the
# sysconfdir of the /usr prefix. Any other prefix keeps it inside.
if(IS_ABSOLUTE "${CMAKE_INSTALL_SYSCONFDIR}" OR CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(calvorin_autostart_dir ${CMAKE_INSTALL_FULL_SYSCONFDIR}/xdg/autostart)
else()
  set(calvorin_autostart_dir ${CMAKE_INSTALL_SYSCONFDIR}/xdg/autostart)
endif()
install(FILES ${CALVORIN_DATA_DIR}/calvorin-autostart.desktop
        DESTINATION ${calvorin_autostart_dir}
        RENAME calvorin.desktop)

# The folders as this build installs them, for tests/install.
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/data/install-layout.sh @ONLY CONTENT
"# Written by cmake/Install.cmake: the install folders of this build.
configured_prefix='@CMAKE_INSTALL_PREFIX@'
bindir='@CMAKE_INSTALL_BINDIR@'
libdir='@CMAKE_INSTALL_LIBDIR@'
libexecdir='@CMAKE_INSTALL_LIBEXECDIR@'
includedir='@CMAKE_INSTALL_INCLUDEDIR@'
datadir='@CMAKE_INSTALL_DATADIR@'
mandir='@CMAKE_INSTALL_MANDIR@'
docdir='@CMAKE_INSTALL_DOCDIR@'
autostartdir='@calvorin_autostart_dir@'
")

# When the installation goes straight into a data folder the desktop reads
# ($XDG_DATA_DIRS or $XDG_DATA_HOME, and no DESTDIR staging), the MIME,
# desktop entry and icon caches are brought up to date. Packages do this in
# their maintainer scripts instead.
install(CODE "set(CALVORIN_INSTALL_DATADIR \"${CMAKE_INSTALL_DATADIR}\")")
install(CODE [[
  if("$ENV{DESTDIR}" STREQUAL "")
    if(IS_ABSOLUTE "${CALVORIN_INSTALL_DATADIR}")
      set(datadir "${CALVORIN_INSTALL_DATADIR}")
    else()
      set(datadir "${CMAKE_INSTALL_PREFIX}/${CALVORIN_INSTALL_DATADIR}")
    endif()
    cmake_path(NORMAL_PATH datadir)
    string(REGEX REPLACE "/+$" "" datadir "${datadir}")
    set(read_by_desktop "$ENV{XDG_DATA_DIRS}")
    if(read_by_desktop STREQUAL "")
      set(read_by_desktop "/usr/local/share:/usr/share")
    endif()
    if(NOT "$ENV{XDG_DATA_HOME}" STREQUAL "")
      string(APPEND read_by_desktop ":$ENV{XDG_DATA_HOME}")
    elseif(NOT "$ENV{HOME}" STREQUAL "")
      string(APPEND read_by_desktop ":$ENV{HOME}/.local/share")
    endif()
    string(REPLACE ":" ";" read_by_desktop "${read_by_desktop}")
    set(live FALSE)
    foreach(folder IN LISTS read_by_desktop)
      if(NOT folder STREQUAL "")
        cmake_path(NORMAL_PATH folder)
        string(REGEX REPLACE "/+$" "" folder "${folder}")
        if(folder STREQUAL datadir)
          set(live TRUE)
        endif()
      endif()
    endforeach()
    if(live)
      find_program(update_mime update-mime-database)
      find_program(update_desktop update-desktop-database)
      find_program(update_icons gtk-update-icon-cache)
      if(update_mime)
        message(STATUS "Updating the MIME database in ${datadir}/mime")
        execute_process(COMMAND "${update_mime}" "${datadir}/mime")
      endif()
      if(update_desktop)
        message(STATUS "Updating the desktop entry cache in ${datadir}/applications")
        execute_process(COMMAND "${update_desktop}" -q "${datadir}/applications")
      endif()
      if(update_icons AND EXISTS "${datadir}/icons/hicolor/index.theme")
        message(STATUS "Updating the icon cache in ${datadir}/icons/hicolor")
        execute_process(COMMAND "${update_icons}" -q -t -f "${datadir}/icons/hicolor")
      endif()
    endif()
  endif()
]])

include(${CMAKE_CURRENT_LIST_DIR}/Package.cmake)
