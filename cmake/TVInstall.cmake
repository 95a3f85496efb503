# Installs four components, each of which can be installed alone:
#
#   platform   the platform library and its module for HTTP
#   runtime    the framework bundle, and the links to it; needs "platform"
#   devel      headers and what helps to build against them; needs both
#   tool       tvtool, its manual pages and completions; needs "platform"
#
# The tree can be moved as a whole: all references in it are relative, unless CMAKE_INSTALL_LIBDIR is
# absolute. The target "uninstall" removes what was installed.
if(APPLE)
    install(TARGETS TVframework FRAMEWORK DESTINATION Library/Frameworks COMPONENT runtime)
    return()
endif()
include(CMakePackageConfigHelpers)

set(TV_ZSH_COMPLETION_DIR "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" CACHE STRING
    "Folder for zsh's completion; Debian's packages use share/zsh/vendor-completions")
set(framework_dir "${CMAKE_INSTALL_LIBDIR}/TVframework.framework")
set(built "${PROJECT_BINARY_DIR}/lib")

# The loader resolves $ORIGIN without following links. So the framework looks for the platform library
# both from its bundle and from the folder of the link to it.
set_target_properties(TVframework PROPERTIES INSTALL_RPATH "$ORIGIN;$ORIGIN/../../..")

# The links are made in the build tree, so that they are installed, and noted, as files are.
install(TARGETS TVframework
    LIBRARY DESTINATION "${framework_dir}/Versions/3" COMPONENT runtime)
install(FILES "${built}/TVframework.framework/Versions/3/Resources/CXMnwc"
    DESTINATION "${framework_dir}/Versions/3/Resources" COMPONENT runtime)
install(FILES "${built}/TVframework.framework/Versions/Current"
    DESTINATION "${framework_dir}/Versions" COMPONENT runtime)
install(FILES "${built}/libTVframework.so.3" DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime)
install(FILES "${built}/libTVframework.so" DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT devel)

install(TARGETS tvplatform
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT platform
    NAMELINK_COMPONENT devel)
install(TARGETS tvplatform_http
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/tvplatform" COMPONENT platform)
foreach(component platform runtime devel tool)
    install(FILES "${PROJECT_SOURCE_DIR}/LICENSE"
        DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT ${component})
endforeach()

install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/TVframework"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT devel)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/platform/include/"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tvplatform" COMPONENT devel)

if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH pc_prefix "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
    set(pc_prefix "\${pcfiledir}/${pc_prefix}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
else()
    set(pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file("${PROJECT_SOURCE_DIR}/cmake/tvframework.pc.in"
    "${PROJECT_BINARY_DIR}/tvframework.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/tvframework.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT devel)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/TVframework")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/TVframeworkConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/TVframeworkConfig.cmake"
    INSTALL_DESTINATION "${package_dir}"
    PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/TVframeworkConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/TVframeworkConfig.cmake"
              "${PROJECT_BINARY_DIR}/TVframeworkConfigVersion.cmake"
    DESTINATION "${package_dir}" COMPONENT devel)

# tv_install_pages(COMPONENT section...) installs the manual pages of these sections.
function(tv_install_pages component)
    foreach(section IN LISTS ARGN)
        file(GLOB pages CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/man/*.${section}")
        install(FILES ${pages}
            DESTINATION "${CMAKE_INSTALL_MANDIR}/man${section}" COMPONENT ${component})
    endforeach()
endfunction()
tv_install_pages(devel 3 7)

if(TV_BUILD_TOOL)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
        set_target_properties(tvtool PROPERTIES INSTALL_RPATH "${CMAKE_INSTALL_LIBDIR}")
    else()
        file(RELATIVE_PATH libraries "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
        set_target_properties(tvtool PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
    endif()
    install(TARGETS tvtool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
    tv_install_pages(tool 1 5)
    install(FILES "${PROJECT_BINARY_DIR}/completions/bash/tvtool"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tool)
    install(FILES "${PROJECT_BINARY_DIR}/completions/zsh/_tvtool"
        DESTINATION "${TV_ZSH_COMPLETION_DIR}" COMPONENT tool)
    install(FILES "${PROJECT_BINARY_DIR}/completions/fish/tvtool.fish"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT tool)
endif()

if(PROJECT_IS_TOP_LEVEL)
    add_custom_target(uninstall
        COMMAND ${CMAKE_COMMAND} "-DBUILD=${PROJECT_BINARY_DIR}"
            -P "${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake"
        COMMENT "Removing what was installed from this build"
        VERBATIM)
endif()
