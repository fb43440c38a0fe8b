# What a package holds and where: the window, the program that asks for a computer and their helpers in lib, what
# they look up below their working directory in share, the launcher and the engine in bin.
include(GNUInstallDirs)
set(CMAKE_INSTALL_LIBDIR lib)
set(private_dir ${CMAKE_INSTALL_LIBDIR}/relay-hub)
set(shared_dir ${CMAKE_INSTALL_DATADIR}/relay-hub)

install(TARGETS relay-hub relay-hub-connect DESTINATION ${private_dir})
install(TARGETS relay-hub-engine DESTINATION ${CMAKE_INSTALL_BINDIR})
install(PROGRAMS scripts/put-icon DESTINATION ${private_dir})
install(FILES data/language.sh DESTINATION ${private_dir})
configure_file(data/relay-hub.in ${CMAKE_BINARY_DIR}/data/relay-hub @ONLY)
install(PROGRAMS ${CMAKE_BINARY_DIR}/data/relay-hub DESTINATION ${CMAKE_INSTALL_BINDIR})
# The launcher asks in any case when it is called so.
file(CREATE_LINK relay-hub ${CMAKE_BINARY_DIR}/data/relay-hub-connect SYMBOLIC)
install(FILES ${CMAKE_BINARY_DIR}/data/relay-hub-connect DESTINATION ${CMAKE_INSTALL_BINDIR})
foreach(program relay-hub relay-hub-connect relay-hub-engine)
  install(FILES data/relay-hub.completion DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          RENAME ${program})
endforeach()
install(DIRECTORY ${CMAKE_BINARY_DIR}/Deployment DESTINATION ${shared_dir})
install(FILES ${CMAKE_BINARY_DIR}/data/relay_hub.ico DESTINATION ${shared_dir})
install(FILES data/relay-hub.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES data/io.github.relay_hub.RelayHub.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES data/relay-hub.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
foreach(size 16 22 24 32 48 64 128 256)
  install(FILES ${CMAKE_BINARY_DIR}/data/relay-hub-${size}.png RENAME relay-hub.png
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
endforeach()

# Debian wants pages and changelogs compressed, without a time stamp.
find_program(GZIP gzip REQUIRED)
set(compressed)
function(install_compressed source name destination)
  set(result ${CMAKE_BINARY_DIR}/package/${name}.gz)
  add_custom_command(OUTPUT ${result}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/package
    COMMAND ${GZIP} -9nc ${source} > ${result} DEPENDS ${source} VERBATIM)
  set(compressed ${compressed} ${result} PARENT_SCOPE)
  install(FILES ${result} DESTINATION ${destination})
endfunction()
install_compressed(${PROJECT_SOURCE_DIR}/docs/relay-hub.1 relay-hub.1 ${CMAKE_INSTALL_MANDIR}/man1)
install_compressed(${PROJECT_SOURCE_DIR}/docs/relay-hub-connect.1 relay-hub-connect.1 ${CMAKE_INSTALL_MANDIR}/man1)
install_compressed(${PROJECT_SOURCE_DIR}/docs/relay-hub-engine.1 relay-hub-engine.1 ${CMAKE_INSTALL_MANDIR}/man1)
install_compressed(${PROJECT_SOURCE_DIR}/packaging/changelog changelog.Debian ${CMAKE_INSTALL_DOCDIR})
install_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog ${CMAKE_INSTALL_DOCDIR})
install(FILES packaging/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES packaging/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME relay-hub)
add_custom_target(pages ALL DEPENDS ${compressed})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME relay-hub)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "two computers' files side by side, copied over a cable or network")
set(CPACK_PACKAGE_DESCRIPTION
"Relay Hub shows this computer's files on the left and another computer's on
the right. Files and folders are copied both ways by menu, keyboard, clipboard
or drag and drop, with progress, Cancel and an overwrite question.
.
The other computer is reached over SSH by a cable or any network: it needs an
SSH server and no program of ours. Passwords are asked by ssh itself. What is
replaced stays whole until the new file is complete.")
set(CPACK_PACKAGE_CONTACT "The Relay Hub developers <developers@relay-hub.invalid>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS gettext-base) # the launcher's refusals
# To reach another computer, to be asked for a password in a window, to see who announces himself and find him by
# name, and to look well.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "openssh-client, ssh-askpass-gnome | ssh-askpass, avahi-daemon, libnss-mdns, hicolor-icon-theme, adwaita-icon-theme, gnome-themes-extra")
include(CPack)
