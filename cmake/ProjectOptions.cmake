# Compiler flags shared by every target of the project.
if(SB_WARNINGS)
  add_compile_options(-Wall -Wextra)
endif()
if(SB_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

# Registers a GoogleTest program with CTest, one CTest entry per test case, each carrying every label given.
include(GoogleTest)
function(sb_add_gtest name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60)
  # gtest_discover_tests flattens its PROPERTIES, so a list of labels would keep only its first; CTest reads
  # this script after the discovered tests and gives each of them the whole list.
  if(ARG_LABELS)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${name}_labels.cmake)
    file(GENERATE OUTPUT ${script} CONTENT "if(DEFINED ${name}_TESTS)
  set_tests_properties(\${${name}_TESTS} PROPERTIES LABELS \"${ARG_LABELS}\")
endif()
")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script})
  endif()
endfunction()

# Adds the calling folder's tests/ and bench/ when tests and benchmarks are built.
function(sb_add_tests_and_benchmarks)
  if(BUILD_TESTING)
    add_subdirectory(tests)
  endif()
  if(SB_BENCHMARKS)
    add_subdirectory(bench)
  endif()
endfunction()
