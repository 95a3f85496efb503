# Helpers with which every folder makes its target, so that warnings, sanitizers and the list of
# sources are the same everywhere.

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
    target_compile_options(tv_options INTERFACE
        $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>
        -fstack-protector-strong)
endif()
if(NOT APPLE)
    target_link_options(tv_options INTERFACE -Wl,-z,relro,-z,now)
endif()

# tv_library(NAME [LINK target...]) makes a static library of the sources in this folder. Only the
# folder itself and what the linked targets offer can be included, so a layer cannot reach upward.
function(tv_library name)
    cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
    add_library(${name} STATIC ${sources})
    target_include_directories(${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE $<BUILD_INTERFACE:tv_options>)
endfunction()

# tv_test(FOLDER [LINK target...]) makes one test program of all sources in tests/FOLDER and
# registers every test in it.
function(tv_test folder)
    cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp")
    set(target ${folder}_tests)
    add_executable(${target} ${sources})
    target_link_libraries(${target} PRIVATE
        ${ARG_LINK} tv_test_support tv_options GTest::gmock GTest::gtest GTest::gtest_main)
    gtest_discover_tests(${target} TEST_PREFIX "${folder}." DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT 300 LABELS ${folder})
endfunction()

# tv_platform_part(NAME [LINK target...]) makes an object library of this folder and puts it into tvplatform.
function(tv_platform_part name)
    cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
    add_library(${name} OBJECT ${sources})
    target_include_directories(${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(${name}
        PUBLIC tvplatform_headers
        PRIVATE $<BUILD_INTERFACE:tv_options> ${ARG_LINK})
    target_sources(tvplatform PRIVATE $<TARGET_OBJECTS:${name}>)
    target_link_libraries(tvplatform PRIVATE ${ARG_LINK})
endfunction()
