# ghc_filesystem: the header-only library, the installed one where there is one.

add_library(ghc_filesystem INTERFACE)
find_package(ghc_filesystem QUIET)
if(ghc_filesystem_FOUND)
  target_link_libraries(ghc_filesystem INTERFACE ghcFilesystem::ghc_filesystem)
  return()
endif()

execute_process(
  COMMAND "${PROJECT_SOURCE_DIR}/scripts/ghc-filesystem"
  OUTPUT_VARIABLE ghc_filesystem_root
  OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
message(STATUS "ghc::filesystem: ${ghc_filesystem_root}")
target_include_directories(ghc_filesystem SYSTEM INTERFACE "${ghc_filesystem_root}/include")
