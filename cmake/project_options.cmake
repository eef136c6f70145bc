# Flags that every target of the project gets, in one place.

option(ZEL_WERROR "Treat warnings as errors" OFF)
option(ZEL_TESTS "Build the tests" ON)
option(ZEL_FUZZ "Build the fuzz targets" OFF)
set(ZEL_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(project_options INTERFACE)
# Trace entries carry the file's name alone, and no binary should name the build machine's folders.
target_compile_options(project_options INTERFACE "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=")
if(ZEL_SANITIZE)
  target_compile_options(project_options INTERFACE
    -fsanitize=${ZEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(project_options INTERFACE -fsanitize=${ZEL_SANITIZE})
  if(ZEL_SANITIZE MATCHES address AND NOT ZEL_FUZZ AND CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    # The runtime as a library of its own, as GCC has it: test programs that replace functions of
    # the C library would otherwise be called by a runtime that is not ready yet.
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=libclang_rt.asan-${CMAKE_SYSTEM_PROCESSOR}.so
      OUTPUT_VARIABLE sanitizer_library OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    cmake_path(GET sanitizer_library PARENT_PATH sanitizer_runtime)
    target_link_options(project_options INTERFACE
      -shared-libasan "LINKER:-rpath,${sanitizer_runtime}")
  endif()
endif()

if(ZEL_FUZZ)
  # Coverage for the fuzz targets, which alone link libFuzzer.
  target_compile_options(project_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# Test code looks at what others guard when nobody else runs: its locks are not checked.
define_property(TARGET PROPERTY ZEL_TEST_CODE INITIALIZE_FROM_VARIABLE ZEL_TEST_CODE)

add_library(project_warnings INTERFACE)
target_compile_options(project_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion
  $<IF:$<CXX_COMPILER_ID:Clang>,-Wshadow,-Wshadow=local>
  # An enumerator before "..." is promoted to the type that it is passed as anyway.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-varargs>
  $<$<AND:$<CXX_COMPILER_ID:Clang>,$<NOT:$<BOOL:$<TARGET_PROPERTY:ZEL_TEST_CODE>>>>:-Wthread-safety>
  $<$<BOOL:${ZEL_WERROR}>:-Werror>)
