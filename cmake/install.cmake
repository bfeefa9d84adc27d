# The library, its headers, a CMake package and a pkg-config file; apps install themselves.
include(CMakePackageConfigHelpers)

install(TARGETS QNToolsShared EXPORT QNToolsTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
foreach(room Platform NorvoTools NorvoUI QNWorkerClass QNGridCtrl QNNewEditUI QNTools)
  install(DIRECTORY ${room} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QNTools
          FILES_MATCHING PATTERN "*.h" PATTERN "host" EXCLUDE)
endforeach()

set(QN_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/QNTools)
install(EXPORT QNToolsTargets NAMESPACE QNTools:: DESTINATION ${QN_PACKAGE_DIR})
file(WRITE ${CMAKE_BINARY_DIR}/QNToolsConfig.cmake
     "include(\"\${CMAKE_CURRENT_LIST_DIR}/QNToolsTargets.cmake\")\n")
write_basic_package_version_file(${CMAKE_BINARY_DIR}/QNToolsConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/QNToolsConfig.cmake ${CMAKE_BINARY_DIR}/QNToolsConfigVersion.cmake
        DESTINATION ${QN_PACKAGE_DIR})

# Relative, so that the installed tree can be moved.
file(RELATIVE_PATH QN_PREFIX_FROM_PC /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${CMAKE_SOURCE_DIR}/cmake/qntools.pc.in ${CMAKE_BINARY_DIR}/qntools.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/qntools.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
