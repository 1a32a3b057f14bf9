# What `cmake --install` puts where, and the .deb that CPack builds from it.
install(TARGETS marl RUNTIME DESTINATION bin)
install(TARGETS marl_shared LIBRARY DESTINATION lib)
install(FILES ${CMAKE_SOURCE_DIR}/docs/marl.1 DESTINATION share/man/man1)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs/ DESTINATION share/doc/marl
        FILES_MATCHING PATTERN "*.md" PATTERN "*.mr" PATTERN "*.inc")
install(DIRECTORY ${CMAKE_SOURCE_DIR}/editors/ DESTINATION share/marl/editors)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME marl)
set(CPACK_PACKAGE_VERSION 0.46.0)
set(CPACK_PACKAGE_CONTACT "MARL developers <marl@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "MARL, a small scripting language for text and data")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION interpreters)
# The run-time libraries libmarl.so links (readelf -d: NEEDED); named, so no dpkg-dev
# is needed.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libstdc++6, libgcc-s1, libonig5, libedit2, libffi8")
# The graphics window and the .NET bridge load their toolkits with dlopen on first use and
# report a clear error when one is missing, so the rest of marl works without them.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libgtk-3-0, fonts-dejavu-core")
if(MARL_HAVE_MONO)
  string(APPEND CPACK_DEBIAN_PACKAGE_RECOMMENDS ", libmonosgen-2.0-1, libmono-corlib4.5-dll")
endif()
include(CPack)
