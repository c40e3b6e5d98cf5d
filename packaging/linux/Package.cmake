# What cpack makes: one .deb. The grant tool knows where the input helper is installed, so that only what was configured
# for /usr can be packaged.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME knucklet)
set(CPACK_PACKAGE_CONTACT "The Knucklet authors <authors@knucklet.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "count key presses and mouse clicks per day
Knucklet sits in the menu bar (the tray) and counts how many keys you press and
how many mouse clicks you make, day by day. It never records which key you
press. A small panel shows today, the last seven days, the totals and the best
day.

Everything stays in one small file in the home folder; nothing uses the
network.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# pkexec asks for the password before the input helper gets its right; Wayland sessions without an X server need Qt's
# own plugin.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "default-dbus-session-bus | dbus-session-bus, pkexec, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS gnome-shell-extension-appindicator)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
configure_file(debian/postrm.in debian/postrm @ONLY)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/debian/postrm)

# What only Debian wants.
set(KNUCKLET_STRIP ${CMAKE_STRIP})
set(KNUCKLET_DEBIAN_FOLDER ${CMAKE_CURRENT_SOURCE_DIR}/debian)
set(KNUCKLET_COPYRIGHT ${PROJECT_SOURCE_DIR}/.reuse/dep5)
set(KNUCKLET_CHANGELOG ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
configure_file(debian/finish.cmake.in debian/finish.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_BINARY_DIR}/debian/finish.cmake)

include(CPack)
