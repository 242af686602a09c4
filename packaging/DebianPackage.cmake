# The .deb: the bundle below /usr/lib, without the verifier, since the package manager keeps it up to date.
set(data share)
quillmarsh_install_bundle(deb lib/quillmarsh/Quillmarsh.app quillmarsh)

file(MAKE_DIRECTORY ${generated}/bin)
file(CREATE_LINK ../lib/quillmarsh/Quillmarsh.app/Contents/Linux/quillmarsh ${generated}/bin/quillmarsh SYMBOLIC)
install(FILES ${generated}/bin/quillmarsh DESTINATION bin COMPONENT deb EXCLUDE_FROM_ALL)
install(FILES ${resources}/com.quillmarsh.app.desktop DESTINATION ${data}/applications COMPONENT deb EXCLUDE_FROM_ALL)
install(FILES ${resources}/com.quillmarsh.app.autostart.desktop RENAME com.quillmarsh.app.desktop
    DESTINATION /etc/xdg/autostart COMPONENT deb EXCLUDE_FROM_ALL)
install(FILES ${generated}/com.quillmarsh.app.metainfo.xml DESTINATION ${data}/metainfo COMPONENT deb EXCLUDE_FROM_ALL)
install(FILES ${resources}/icons/app/com.quillmarsh.app.svg DESTINATION ${data}/icons/hicolor/scalable/apps
    COMPONENT deb EXCLUDE_FROM_ALL)
foreach(size 16 22 24 32 48 64 128 256 512)
    install(FILES ${resources}/icons/app/com.quillmarsh.app-${size}.png RENAME com.quillmarsh.app.png
        DESTINATION ${data}/icons/hicolor/${size}x${size}/apps COMPONENT deb EXCLUDE_FROM_ALL)
endforeach()

# Policy wants these compressed as well as possible and without a time in them.
find_program(GZIP gzip REQUIRED)
foreach(file ${generated}/changelog.Debian ${CMAKE_CURRENT_SOURCE_DIR}/quillmarsh.1)
    cmake_path(GET file FILENAME name)
    execute_process(COMMAND ${GZIP} -9nc ${file} OUTPUT_FILE ${generated}/${name}.gz COMMAND_ERROR_IS_FATAL ANY)
endforeach()
install(FILES ${generated}/changelog.Debian.gz ${generated}/copyright DESTINATION ${data}/doc/quillmarsh
    COMPONENT deb EXCLUDE_FROM_ALL)
install(FILES ${generated}/quillmarsh.1.gz DESTINATION ${data}/man/man1 COMPONENT deb EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillmarsh)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${QUILLMARSH_MAINTAINER}")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR OFF)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL deb)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_NAME quillmarsh)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION non-free/utils) # all rights are reserved, see copyright.in
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${QUILLMARSH_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${QUILLMARSH_WEB_ORIGIN}/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What dpkg-shlibdeps cannot see: the modules that the views import (QtQuick itself loads the worker scripts), the
# authorities that every connection is checked against, and what opens the browser.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qml6-module-qtquick, qml6-module-qtquick-window, qml6-module-qtqml-workerscript,\
 ca-certificates, xdg-utils")
# The secret service keeps the keys, the session bus makes one instance.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "default-dbus-session-bus | dbus-session-bus, gnome-keyring | keepassxc")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "writing assistant that rewrites the selected text in place")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Select text in any application, press a shortcut, and the text is rewritten
where it stands. Each writing action carries an instruction in plain words
and a shortcut of its own.

The rewriting is done by the user's own ChatGPT plan, by OpenAI or Anthropic
with an API key, or by a service that the user can run.")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/conffiles)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_CMAKE_PROJECTS "${PROJECT_BINARY_DIR};Quillmarsh;deb;/")
set(CPACK_OUTPUT_CONFIG_FILE ${PROJECT_BINARY_DIR}/CPackDeb.cmake)
include(CPack)
add_custom_target(deb
    COMMAND ${CMAKE_CPACK_COMMAND} --config ${PROJECT_BINARY_DIR}/CPackDeb.cmake
    DEPENDS quillmarsh
    COMMENT "Making the Debian package"
    VERBATIM)
