# Installs the framework bundle, the platform library, the headers, the tool, and the files that help
# to find them. The tree can be moved as a whole: all references in it are relative.
include(CMakePackageConfigHelpers)

if(APPLE)
    return()
endif()

set(framework_dir "${CMAKE_INSTALL_LIBDIR}/TVframework.framework")
file(RELATIVE_PATH libdir_to_prefix "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
file(RELATIVE_PATH bindir_to_libdir "/p/${CMAKE_INSTALL_BINDIR}" "/p/${CMAKE_INSTALL_LIBDIR}")

# The loader resolves $ORIGIN without following links. So the framework looks for the platform library
# both from its bundle and from the folder of the link to it.
set_target_properties(TVframework PROPERTIES INSTALL_RPATH "$ORIGIN;$ORIGIN/../../..")
set_target_properties(tvtool PROPERTIES INSTALL_RPATH "$ORIGIN/${bindir_to_libdir}")

install(TARGETS TVframework
    LIBRARY DESTINATION "${framework_dir}/Versions/3" COMPONENT runtime)
install(FILES "${PROJECT_BINARY_DIR}/lib/TVframework.framework/Versions/3/Resources/CXMnwc"
    DESTINATION "${framework_dir}/Versions/3/Resources" COMPONENT runtime)
install(CODE "
    set(lib \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}\")
    file(CREATE_LINK 3 \"\${lib}/TVframework.framework/Versions/Current\" SYMBOLIC)
    file(CREATE_LINK TVframework.framework/Versions/3/TVframework
        \"\${lib}/libTVframework.so.3\" SYMBOLIC)
    message(STATUS \"Linked: \${lib}/libTVframework.so.3\")" COMPONENT runtime)
install(CODE "
    set(lib \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}\")
    file(CREATE_LINK libTVframework.so.3 \"\${lib}/libTVframework.so\" SYMBOLIC)"
    COMPONENT development)

install(TARGETS tvplatform tvplatform_http
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime
    NAMELINK_COMPONENT development)
install(TARGETS tvtool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)

install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/TVframework"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/platform/include/"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tvplatform" COMPONENT development)

configure_file("${PROJECT_SOURCE_DIR}/cmake/tvframework.pc.in"
    "${PROJECT_BINARY_DIR}/tvframework.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/tvframework.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/TVframework")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/TVframeworkConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/TVframeworkConfig.cmake"
    INSTALL_DESTINATION "${package_dir}"
    PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/TVframeworkConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/TVframeworkConfig.cmake"
              "${PROJECT_BINARY_DIR}/TVframeworkConfigVersion.cmake"
    DESTINATION "${package_dir}" COMPONENT development)

foreach(section 1 3 5 7)
    file(GLOB pages CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/man/*.${section}")
    install(FILES ${pages} DESTINATION "${CMAKE_INSTALL_MANDIR}/man${section}" COMPONENT tools)
endforeach()
install(FILES "${PROJECT_BINARY_DIR}/completions/bash/tvtool"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tools)
install(FILES "${PROJECT_BINARY_DIR}/completions/zsh/_tvtool"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" COMPONENT tools)
install(FILES "${PROJECT_BINARY_DIR}/completions/fish/tvtool.fish"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT tools)
