# Install rules: the library, its headers, its CMake package config and a relocatable
# pkg-config file.
# Package config so that consumers can write find_package(tnpackage CONFIG REQUIRED).
install(TARGETS tnpackage EXPORT tnpackageTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/tnpackage DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_BINARY_DIR}/include/tnpackage/Export.h
              ${PROJECT_BINARY_DIR}/include/tnpackage/BuildConfig.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tnpackage)
install(EXPORT tnpackageTargets NAMESPACE tnpackage::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tnpackage)
configure_package_config_file(cmake/tnpackageConfig.cmake.in
        ${PROJECT_BINARY_DIR}/tnpackageConfig.cmake
        INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tnpackage)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tnpackageConfigVersion.cmake
        COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tnpackageConfig.cmake
              ${PROJECT_BINARY_DIR}/tnpackageConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tnpackage)
# The pkg-config file finds its prefix from its own place (${pcfiledir}), so an installed tree
# can be moved or unpacked anywhere; absolute install folders stay as they are.
file(RELATIVE_PATH TN_PC_UP "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" TN_PC_UP "${TN_PC_UP}")
set(TN_PC_PREFIX "\${pcfiledir}/${TN_PC_UP}")
set(TN_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
set(TN_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(TN_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
  set(TN_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(TN_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file(cmake/tnpackage.pc.in ${PROJECT_BINARY_DIR}/tnpackage.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tnpackage.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
