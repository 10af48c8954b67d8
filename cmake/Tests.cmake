find_package(GTest 1.12 REQUIRED)
include(GoogleTest)

# mediainfo_add_test(<name> SOURCES <file>... [LINK <target>...] [TIMEOUT <seconds>]
#                    [ENVIRONMENT <name>=<value>])
#
# One test program and one ctest entry for each of its cases. The program exports its symbols, so that a library under
# test that imports CreateMediaServer and the like finds the fakes that the program defines.
function(mediainfo_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT;ENVIRONMENT" "SOURCES;LINK")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_SOURCES)
    message(FATAL_ERROR "mediainfo_add_test(${name}): wants SOURCES, got also \"${arg_UNPARSED_ARGUMENTS}\"")
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  set(properties TIMEOUT ${arg_TIMEOUT})
  if(arg_ENVIRONMENT)
    list(APPEND properties ENVIRONMENT "${arg_ENVIRONMENT}")
  endif()

  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE
    ${arg_LINK}
    mediainfo_include
    mediainfo_options
    GTest::gtest_main
    GTest::gmock)
  # What is tested is compiled as it is shipped; to optimise the matchers around it takes longer than to run them.
  target_compile_options(${name} PRIVATE -O0)
  set_target_properties(${name} PROPERTIES
    ENABLE_EXPORTS ON
    MEDIAINFO_SHARED_RUNTIME ON
    BUILD_WITH_INSTALL_RPATH OFF
    RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/test-bin")
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
