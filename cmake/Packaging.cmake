# Where `cmake --install` puts Fikranest, and the .deb that `cpack -G DEB` packs from the same rules.

set(FIKRANEST_PACKAGE_MAINTAINER "Fikranest <hello@fikranest.app>" CACHE STRING
    "Maintainer named in the .deb's control file")

install(TARGETS fikranest RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Loaded when first needed, the microphone on the first recording, the updater on the
# first check for updates and the unpacker on the first speech model's install, from here
# or from beside the program.
install(TARGETS fikranest_audio fikranest_update fikranest_unpack LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/fikranest NAMELINK_SKIP)
# Vosk comes as a prebuilt library, loaded when dictation is first asked for.
if(EXISTS "${FIKRANEST_VOSK_LIBRARY}")
    install(FILES "${FIKRANEST_VOSK_LIBRARY}" DESTINATION ${CMAKE_INSTALL_LIBDIR}/fikranest)
endif()

install(FILES ${PROJECT_SOURCE_DIR}/data/fikranest.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${PROJECT_SOURCE_DIR}/data/io.github.fikranest.Fikranest.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

# The login entry's template. Fikranest writes the user's own copy on its first start, so
# nothing starts for users who never opened it, and switching it off stays the user's call.
install(FILES ${PROJECT_SOURCE_DIR}/data/fikranest-autostart.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/fikranest)

# Icons: the SVG for any size, a one-colour one for the tray, and PNG renders for themes
# and toolkits that do not scale SVG.
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES ${PROJECT_SOURCE_DIR}/data/fikranest.svg DESTINATION ${icons}/scalable/apps)
install(FILES ${PROJECT_SOURCE_DIR}/data/fikranest-symbolic.svg DESTINATION ${icons}/symbolic/apps)
find_program(FIKRANEST_RSVG_CONVERT rsvg-convert REQUIRED)
set(icon_renders)
foreach(size 16 24 32 48 64 128 256)
    set(render ${CMAKE_BINARY_DIR}/icons/${size}x${size}/fikranest.png)
    add_custom_command(OUTPUT ${render}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/icons/${size}x${size}
        COMMAND ${FIKRANEST_RSVG_CONVERT} --width ${size} --height ${size} --output ${render}
                ${PROJECT_SOURCE_DIR}/data/fikranest.svg
        DEPENDS ${PROJECT_SOURCE_DIR}/data/fikranest.svg
        COMMENT "Rendering the ${size}px icon" VERBATIM)
    list(APPEND icon_renders ${render})
    install(FILES ${render} DESTINATION ${icons}/${size}x${size}/apps)
endforeach()
add_custom_target(fikranest_icons ALL DEPENDS ${icon_renders})

# The .deb goes in /usr whatever this build's prefix.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME fikranest)
set(CPACK_PACKAGE_VENDOR Fikranest)
set(CPACK_PACKAGE_CONTACT "${FIKRANEST_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_HOMEPAGE_URL "${FIKRANEST_MAKER_URL}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "quick capture of ideas, tasks and notes, in Arabic")
set(CPACK_PACKAGE_DESCRIPTION "Fikranest (الفكرون) catches an idea before it is forgotten: type or dictate it, \
file it as an idea, a task or a note, and ask to be reminded. It lives in the tray, shows reminders as \
desktop notifications, speaks Arabic right to left, dictates offline with Vosk, and keeps everything on \
the machine.")
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Shared libraries come from dpkg-shlibdeps; what is only loaded at run time is named here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qml6-module-qtquick, qml6-module-qtquick-controls, \
qml6-module-qtquick-layouts, qml6-module-qtquick-window, qml6-module-qtquick-templates, \
qml6-module-qtqml, qml6-module-qtqml-workerscript, fonts-noto-core, fonts-noto-ui-core, \
fonts-noto-color-emoji, fonts-material-design-icons-iconfont, dbus, qt6-wayland")
# The program looks for Vosk where this build would install it, so a .deb from a build for
# another prefix would never find it.
set(CPACK_FIKRANEST_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/CPackProjectConfig.cmake CONTENT [[
if(CPACK_GENERATOR STREQUAL "DEB" AND NOT CPACK_FIKRANEST_INSTALL_PREFIX STREQUAL "/usr"
   AND NOT CPACK_FIKRANEST_ANY_PREFIX)
    message(FATAL_ERROR "This build is for ${CPACK_FIKRANEST_INSTALL_PREFIX}: configure it with "
            "-DCMAKE_INSTALL_PREFIX=/usr to pack a .deb (-D CPACK_FIKRANEST_ANY_PREFIX=ON packs one anyway).")
endif()
]] @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/CPackProjectConfig.cmake)
include(CPack)
