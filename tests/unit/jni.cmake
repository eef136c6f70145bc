# Tests of the Java bridge, with the fake JVM.
set(jni_test_dir "${CMAKE_CURRENT_LIST_DIR}")
add_subdirectory("${PROJECT_SOURCE_DIR}/tests/support/fake_jvm" fake_jvm)

add_library(jvm_fixture OBJECT "${PROJECT_SOURCE_DIR}/tests/support/jvm_fixture.cpp")
target_compile_definitions(jvm_fixture PUBLIC
  FAKE_JVM_LIBRARY="$<TARGET_FILE:fakejvm>" NOT_A_JVM_LIBRARY="$<TARGET_FILE:not_a_jvm>")
target_link_libraries(jvm_fixture PUBLIC zel_core zel_jni fake_framework fakejvm GTest::gmock
                      PRIVATE project_options project_warnings)

add_executable(daemon_probe "${PROJECT_SOURCE_DIR}/tests/support/daemon_probe.cpp")
target_link_libraries(daemon_probe PRIVATE project_warnings)

function(zel_jni_test source)
  get_filename_component(name "${source}" NAME_WE)
  add_executable(${name} "${jni_test_dir}/${source}")
  target_link_libraries(${name} PRIVATE zel_core zel_jni fake_framework jvm_fixture build_info
                                        GTest::gmock GTest::gtest_main project_options
                                        project_warnings)
  target_compile_definitions(${name} PRIVATE DAEMON_PROBE="$<TARGET_FILE:daemon_probe>")
  add_dependencies(${name} not_a_jvm daemon_probe)
  target_precompile_headers(${name} REUSE_FROM test_headers)
  add_dependencies(unit_tests ${name})
  add_test(NAME unit.${name} COMMAND ${name})
  set_tests_properties(unit.${name} PROPERTIES LABELS unit TIMEOUT 120)
endfunction()

zel_jni_test(zeljvmoptions_test.cpp)
zel_jni_test(zeljvm_test.cpp)
zel_jni_test(zeljvmexception_test.cpp)
zel_jni_test(zeljvmload_test.cpp)
target_link_options(zeljvmload_test PRIVATE "LINKER:--wrap=dlerror")
zel_jni_test(zeljni_test.cpp)
zel_jni_test(zeljnitypes_test.cpp)
zel_jni_test(zeljclnt_test.cpp)
zel_jni_test(zeljoutbound_test.cpp)
zel_jni_test(zeljending_test.cpp)
zel_jni_test(zeljconvert_test.cpp)
zel_jni_test(zelutil_test.cpp)
zel_jni_test(zeljnatives_test.cpp)
zel_jni_test(zelspawnu_test.cpp)
zel_jni_test(zelspawnprocess_test.cpp)
zel_jni_test(layoutbridge_test.cpp)

# What these programs test leaves the process with status 0 where it takes itself for a child: the
# status alone does not tell that the tests came to their end.
foreach(name zeljnatives zelspawnu zelspawnprocess)
  set_tests_properties(unit.${name}_test PROPERTIES
    PASS_REGULAR_EXPRESSION "\\[  PASSED  \\]"
    FAIL_REGULAR_EXPRESSION "\\[  FAILED  \\];Sanitizer:;runtime error:")
endforeach()
