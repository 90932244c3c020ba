# What goes on a camera. The component `voxo` is the product. `camera` holds the stand-ins for the two
# libraries that a camera brings itself, `trace` what writes down the daemon's life there; these two are
# installed only when they are asked for by name.

include(GNUInstallDirs)
set(packaging ${CMAKE_SOURCE_DIR}/packaging)

# Beside the daemon's own tree no library is looked for but where the system has them. The build has the
# same path as the installation: one that is rewritten is padded, with an entry that names nothing and
# means the current directory.
set_target_properties(voxo PROPERTIES
    INSTALL_RPATH $ORIGIN/../${CMAKE_INSTALL_LIBDIR}
    BUILD_WITH_INSTALL_RPATH ON)
install(TARGETS voxo RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT voxo)
install(PROGRAMS ${packaging}/voxo.init
    DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/init.d RENAME voxo COMPONENT voxo)
install(FILES ${packaging}/voxo.xml DESTINATION ${CMAKE_INSTALL_SYSCONFDIR} COMPONENT voxo)
configure_file(${packaging}/voxo.8.in ${CMAKE_BINARY_DIR}/voxo.8 @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/voxo.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT voxo)
install(TARGETS quill message
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT camera NAMELINK_SKIP EXCLUDE_FROM_ALL)

if(TARGET vcam_trace)
    install(TARGETS vcam_trace
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT trace EXCLUDE_FROM_ALL)
endif()

# cpack: an archive for each component.
set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_FILE_NAME voxo-${PROJECT_VERSION}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL voxo camera)
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
include(CPack)
