# What `cmake --install` puts where, and the Debian package built from it by
# `cpack -G DEB`. The programs find share/ochrel relative to bin/, so the tree
# can be installed into any prefix and moved as a whole.
set(OCHREL_APP_ID org.ochrel.Ochrel)

if(OCHREL_WITH_QT)
  install(TARGETS ochrel ochrel-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(DIRECTORY data/ DESTINATION ${CMAKE_INSTALL_DATADIR}/ochrel PATTERN .keep EXCLUDE)
install(FILES dist/${OCHREL_APP_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES dist/${OCHREL_APP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES dist/icons/ochrel.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps
        RENAME ${OCHREL_APP_ID}.svg)
foreach(size 16 24 32 48 64 128 256)
  install(FILES dist/icons/ochrel-${size}.png DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps
          RENAME ${OCHREL_APP_ID}.png)
endforeach()
install(FILES dist/ochrel.1 dist/ochrel-cli.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES dist/ochrel-cli.bash-completion DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME ochrel-cli)

# ---- Debian package ---------------------------------------------------------
set(CPACK_PACKAGE_NAME ochrel)
set(CPACK_PACKAGE_VENDOR "Ochrel")
set(CPACK_PACKAGE_CONTACT "Ochrel developers <ochrel@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "paint program for JPEG, BMP, PCX, TGA and PNG pictures")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The text tool's default face and the program's fonts; Qt needs a platform plugin.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-liberation, fonts-dejavu-core, qt6-qpa-plugins")
# CPack puts the summary first and indents these lines itself.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Ochrel edits several pictures at once with eighteen tools, seventeen filters,\ngradient, texture and tiled fills and soft shadows. ochrel-cli runs the same\nengine on files from the shell.")
set(CPACK_STRIP_FILES ON)
include(CPack)
