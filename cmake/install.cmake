# Installing fmHistorydb, in two layouts, and its Debian package.
#
# Into a farm root (the whole install):
#   cmake --install build --prefix /mnt/farm
#   puts fmHistorydb and fmHistorydbconsole into <root>/bin/lx/, where they find the root from their
#   own place, and the place holder of fmSubmitter where the root has none yet.
#
# Onto a workstation (the component "workstation"):
#   cmake --install build --prefix /usr/local --component workstation
#   puts the programs into <prefix>/lib/fmhistorydb/bin/lx/ and, in <prefix>/bin/, launchers of the
#   same names that start them on the configured root (see tools/install/fmhistorydb-launcher);
#   a desktop entry, icons, and bash completion of fmHistorydbconsole.
#
# The Debian package holds the workstation install below /usr:
#   cd build && cpack -G DEB

set(FM_INSTALL_DIR ${PROJECT_SOURCE_DIR}/tools/install)

install(TARGETS fmHistorydb fmHistorydbconsole RUNTIME DESTINATION bin/lx COMPONENT farm)
# A farm's own submitter is never replaced by the place holder.
install(CODE "
  set(submitter \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/lx/fmSubmitter\")
  if(EXISTS \"\${submitter}\")
    message(STATUS \"Kept: \${submitter}\")
  else()
    file(INSTALL \"${FM_INSTALL_DIR}/fmSubmitter\" DESTINATION \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/lx\"
         FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endif()
" COMPONENT farm)

install(TARGETS fmHistorydb fmHistorydbconsole RUNTIME DESTINATION lib/fmhistorydb/bin/lx
        COMPONENT workstation EXCLUDE_FROM_ALL)
foreach(program fmHistorydb fmHistorydbconsole)
  install(PROGRAMS ${FM_INSTALL_DIR}/fmhistorydb-launcher DESTINATION bin RENAME ${program}
          COMPONENT workstation EXCLUDE_FROM_ALL)
endforeach()
install(FILES ${FM_INSTALL_DIR}/fmhistorydb.desktop DESTINATION share/applications
        COMPONENT workstation EXCLUDE_FROM_ALL)
foreach(size 48 128 256)
  install(FILES ${PROJECT_SOURCE_DIR}/resources/appicon/fmhistorydb-${size}.png
          DESTINATION share/icons/hicolor/${size}x${size}/apps RENAME fmhistorydb.png
          COMPONENT workstation EXCLUDE_FROM_ALL)
endforeach()
install(FILES ${FM_INSTALL_DIR}/fmHistorydbconsole.bash DESTINATION share/bash-completion/completions
        RENAME fmHistorydbconsole COMPONENT workstation EXCLUDE_FROM_ALL)

set(CPACK_PACKAGE_NAME fmhistorydb)
set(CPACK_PACKAGE_VENDOR "Fornmark")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "History database browser of the Fornmark render farm manager")
string(CONCAT CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "fmHistorydb lists the projects of a render farm's history and shows their finished jobs\n"
    "grouped, filtered and sorted with totals, with their settings, logs and errors; it exports\n"
    "them as CSV and hands jobs back to the farm's submitter. fmHistorydbconsole does the same\n"
    "from the command line. Both start on the farm root named in /etc/fmhistorydb/root or\n"
    "~/.config/fmhistorydb/root.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL workstation)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "fmHistorydb developers <fmhistorydb@fornmark.invalid>")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
# Qt, zlib and the C++ runtime come from the programs' own libraries; the rest is loaded at run time.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-liberation2, libqt6sql6-sqlite")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "bash-completion")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libqt6sql6-psql")
include(CPack)
