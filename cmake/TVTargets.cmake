# Helpers with which every folder makes its target, so that warnings, sanitizers and the list of
# sources are the same everywhere.

include(CheckSymbolExists)

add_library(tv_options INTERFACE)
target_compile_options(tv_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wformat=2
    -Wundef -Wmissing-declarations -Wvla
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast
        -Wextra-semi>)
if(TV_WERROR)
    target_compile_options(tv_options INTERFACE -Werror)
endif()
if(TV_SANITIZE)
    target_compile_options(tv_options INTERFACE
        -fsanitize=${TV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tv_options INTERFACE -fsanitize=${TV_SANITIZE})
else()
    # What the distribution or the builder has chosen stays, which may be more than is chosen here.
    set(CMAKE_REQUIRED_FLAGS -O1)
    check_symbol_exists(_FORTIFY_SOURCE "" TV_IS_FORTIFIED)
    unset(CMAKE_REQUIRED_FLAGS)
    if(NOT TV_IS_FORTIFIED AND NOT "${CMAKE_C_FLAGS} ${CMAKE_CXX_FLAGS}" MATCHES "_FORTIFY_SOURCE")
        target_compile_options(tv_options INTERFACE
            $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
    endif()
    if(NOT "${CMAKE_C_FLAGS} ${CMAKE_CXX_FLAGS}" MATCHES "-f(no-)?stack-protector")
        target_compile_options(tv_options INTERFACE -fstack-protector-strong)
    endif()
endif()
# The same source gives the same bytes in whatever folder it is built. Coverage needs the real paths.
if(NOT "${CMAKE_CXX_FLAGS}" MATCHES "--coverage")
    target_compile_options(tv_options INTERFACE
        "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=." "-ffile-prefix-map=${PROJECT_BINARY_DIR}=build")
endif()
if(NOT APPLE)
    # The loader gives thread-local variables their place when it loads the library. Otherwise it
    # does so when a thread first uses one, and ends the process if there is no memory then.
    target_compile_options(tv_options INTERFACE -ftls-model=initial-exec)
    target_link_options(tv_options INTERFACE -Wl,-z,relro,-z,now)
endif()

# tv_headers(TARGET SCOPE PATH) lets sources include the headers of this folder as "PATH/Name.h".
# The include root holds a link to this one folder and nothing else. So a source reaches the folders
# whose targets it links, by their paths, and no others: an include that points upward finds no file.
function(tv_headers target scope path)
    set(root "${PROJECT_BINARY_DIR}/include-roots/${target}")
    get_filename_component(parent "${root}/${path}" DIRECTORY)
    file(MAKE_DIRECTORY "${parent}")
    file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}" "${root}/${path}" SYMBOLIC)
    target_include_directories(${target} ${scope} "$<BUILD_INTERFACE:${root}>")
endfunction()

# tv_library(NAME PATH [LINK target...]) makes a static library of the sources in this folder, whose
# headers are included as "PATH/Name.h".
function(tv_library name path)
    cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
    add_library(${name} STATIC ${sources})
    tv_headers(${name} PUBLIC ${path})
    target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE $<BUILD_INTERFACE:tv_options>)
endfunction()

# tv_platform_part(NAME PATH [LINK target...]) makes an object library of this folder, whose headers
# are included as "PATH/Name.h", and puts it into tvplatform.
function(tv_platform_part name path)
    cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
    add_library(${name} OBJECT ${sources})
    tv_headers(${name} PUBLIC ${path})
    target_link_libraries(${name}
        PUBLIC tvplatform_headers ${ARG_LINK}
        PRIVATE $<BUILD_INTERFACE:tv_options>)
    target_sources(tvplatform PRIVATE $<TARGET_OBJECTS:${name}>)
endfunction()

# tv_test(NAME [LINK target...]) makes one test program of all sources in tests/NAME, its child
# programs excepted, and registers every test in it. They assume the system encoding of the build.
function(tv_test name)
    cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp")
    list(FILTER sources EXCLUDE REGEX "/child/")
    set(target ${name}_tests)
    add_executable(${target} ${sources})
    target_link_libraries(${target} PRIVATE
        ${ARG_LINK} tv_test_support tv_options GTest::gmock GTest::gtest GTest::gtest_main)
    gtest_discover_tests(${target} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT 300 LABELS ${name}
            ENVIRONMENT_MODIFICATION TV_SYSTEM_ENCODING=unset:)
endfunction()
