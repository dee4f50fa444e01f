# What every target of the tree is built with, and the three ways to declare one.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

find_package(Threads REQUIRED)

find_program(MORVEX_CCACHE ccache)
if(MORVEX_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${MORVEX_CCACHE})
endif()

add_library(morvex_flags INTERFACE)
target_compile_options(morvex_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
if(MORVEX_SANITIZE)
    target_compile_options(morvex_flags INTERFACE
        -fsanitize=${MORVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(morvex_flags INTERFACE -fsanitize=${MORVEX_SANITIZE})
    # g++ loses track of what is initialized in code that it has instrumented.
    target_compile_options(morvex_flags INTERFACE
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
    # With a section each, what the command does not use leaves no code, no table and no imported
    # symbol in it: the loader looks up every symbol at each start.
    target_compile_options(morvex_flags INTERFACE
        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong
        -ffunction-sections -fdata-sections)
    # One source, one binary, wherever the trees stand.
    target_compile_options(morvex_flags INTERFACE
        -ffile-prefix-map=${PROJECT_BINARY_DIR}/= -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
endif()

# morvex_library(NAME [DEPENDS lib...] SOURCES file...): a static library of the tree.
function(morvex_library name)
    cmake_parse_arguments(ARG "" "" "DEPENDS;SOURCES" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
    target_compile_features(${name} PUBLIC cxx_std_20)
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS} PRIVATE $<BUILD_INTERFACE:morvex_flags>)
endfunction()

# morvex_test(NAME [DEPENDS lib...] [LABELS label...] SOURCES file...): a GoogleTest binary and its
# CTest entry. The label "threads" marks tests that start threads of their own; the target
# thread_tests builds them all.
add_custom_target(thread_tests)
function(morvex_test name)
    cmake_parse_arguments(ARG "" "" "DEPENDS;SOURCES;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} morvex_flags GTest::gtest GTest::gtest_main)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 300)
    if("threads" IN_LIST ARG_LABELS)
        add_dependencies(thread_tests ${name})
    endif()
    if(ARG_LABELS)
        set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}")
    endif()
endfunction()
