# Language level, warnings, sanitizers, and the functions by which the folders declare themselves.

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(QUILLBOX_CCACHE ccache)
if(QUILLBOX_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${QUILLBOX_CCACHE}")
endif()

add_library(quillbox_options INTERFACE)
target_include_directories(quillbox_options INTERFACE "${CMAKE_SOURCE_DIR}/src")
target_compile_options(quillbox_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wimplicit-fallthrough -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 reports impossible accesses inside inlined library code when it optimises.
  target_compile_options(quillbox_options INTERFACE
    -Wno-maybe-uninitialized -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread
    -Wno-dangling-pointer -Wno-free-nonheap-object)
endif()
if(QUILLBOX_SANITIZE)
  add_compile_options("-fsanitize=${QUILLBOX_SANITIZE}" -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options("-fsanitize=${QUILLBOX_SANITIZE}")
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND QUILLBOX_SANITIZE MATCHES "undefined")
    # libFuzzer and the tests want plain C++ runtime checks, not vptr checks across RTTI-less libraries.
    add_compile_options(-fno-sanitize=vptr)
  endif()
endif()

if(QUILLBOX_FUZZ)
  # The libraries report the branches they take; without that a fuzzer learns nothing.
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(fmt REQUIRED)

# The folders, lowest level first, out of the one table that the include test reads too.
file(STRINGS "${CMAKE_SOURCE_DIR}/cmake/house.txt" _house_lines REGEX "^[0-9]")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/cmake/house.txt")
set(QUILLBOX_HOUSE "")
foreach(_line IN LISTS _house_lines)
  string(REGEX REPLACE "^[0-9]+ +([^ ]+).*$" "\\1" _folder "${_line}")
  list(APPEND QUILLBOX_HOUSE "${_folder}")
endforeach()

# quillbox_library(NAME [USES folder...] [LIBRARIES target...])
# One static library of every .cpp beside the calling CMakeLists.txt; headers only gives an interface library.
# USES names other folders as house.txt spells them.
function(quillbox_library name)
  cmake_parse_arguments(ARG "" "" "USES;LIBRARIES;PRIVATE_LIBRARIES" ${ARGN})
  string(REPLACE "/" "_" target "quillbox_${name}")
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  set(scope PUBLIC)
  if(sources)
    add_library(${target} STATIC ${sources})
  else()
    add_library(${target} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_link_libraries(${target} ${scope} quillbox_options ${ARG_LIBRARIES})
  foreach(folder IN LISTS ARG_USES)
    string(REPLACE "/" "_" used "quillbox_${folder}")
    target_link_libraries(${target} ${scope} ${used})
  endforeach()
  if(ARG_PRIVATE_LIBRARIES)
    target_link_libraries(${target} PRIVATE ${ARG_PRIVATE_LIBRARIES})
  endif()
endfunction()

# quillbox_test(NAME [USES folder...] [LIBRARIES target...] [TIMEOUT seconds] [DEFINITIONS d...] [CORPORA fuzzer...])
# One GoogleTest program of every .cpp beside the calling CMakeLists.txt, named NAME_test, each case known to CTest.
# CORPORA names fuzzers whose corpora it replays: their targets are linked in under names of their own.
function(quillbox_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "USES;LIBRARIES;DEFINITIONS;CORPORA" ${ARGN})
  string(REPLACE "/" "_" target "${name}_test")
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  foreach(corpus IN LISTS ARG_CORPORA)
    set(fuzzer "${CMAKE_SOURCE_DIR}/fuzz/${corpus}.cpp")
    set_source_files_properties("${fuzzer}" PROPERTIES COMPILE_DEFINITIONS LLVMFuzzerTestOneInput=fuzz_${corpus})
    configure_file("${CMAKE_SOURCE_DIR}/tests/support/fuzz_corpus_test.cpp.in" "${corpus}_corpus_test.cpp" @ONLY)
    list(APPEND sources "${fuzzer}" "${CMAKE_CURRENT_BINARY_DIR}/${corpus}_corpus_test.cpp")
  endforeach()
  add_executable(${target} ${sources})
  foreach(folder IN LISTS ARG_USES)
    string(REPLACE "/" "_" used "quillbox_${folder}")
    target_link_libraries(${target} PRIVATE ${used})
  endforeach()
  target_include_directories(${target} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
  target_link_libraries(${target} PRIVATE quillbox_options GTest::gmock_main GTest::gtest Threads::Threads
    ${ARG_LIBRARIES})
  target_compile_definitions(${target} PRIVATE QUILLBOX_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
    QUILLBOX_BIN_DIR="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}" ${ARG_DEFINITIONS})
  if(QUILLBOX_SANITIZE)
    # The test libraries' templates take the compiler three times as long when they are optimised and instrumented.
    target_compile_options(${target} PRIVATE -O0)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  gtest_discover_tests(${target} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${name}")
endfunction()

# quillbox_bench(NAME SOURCE [USES folder...] [LIBRARIES target...])
function(quillbox_bench name source)
  cmake_parse_arguments(ARG "" "" "USES;LIBRARIES" ${ARGN})
  add_executable(${name} ${source})
  foreach(folder IN LISTS ARG_USES)
    string(REPLACE "/" "_" used "quillbox_${folder}")
    target_link_libraries(${name} PRIVATE ${used})
  endforeach()
  target_link_libraries(${name} PRIVATE quillbox_options benchmark::benchmark Threads::Threads ${ARG_LIBRARIES})
  target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
  target_compile_definitions(${name} PRIVATE QUILLBOX_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
    QUILLBOX_BIN_DIR="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
endfunction()
