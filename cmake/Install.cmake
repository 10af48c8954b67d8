# <prefix>/bin/mediaprobe, <prefix>/lib/mediainfo/*.so, QK_MediaInfoLib.dll beside them and
# <prefix>/lib/mediainfo/userepace/*.dll: the paths are looked up relative to the tool and to the module, so they are not
# left to GNUInstallDirs.

set(libraries core service MediaServer MediaServerDigest MediaServerNetwork MediaServerPictureTags QK_MediaInfoLib
  service-mediainfo svg-decoder SvgRenderer)
set(run_time_libraries COMSupport QK_log)

install(TARGETS ${libraries} LIBRARY DESTINATION lib/mediainfo)
install(TARGETS ${run_time_libraries} LIBRARY DESTINATION lib/mediainfo/userepace)
install(TARGETS mediaprobe module-check RUNTIME DESTINATION bin)
install(DIRECTORY include/ DESTINATION include/service-mediainfo FILES_MATCHING PATTERN "*.h")

# What a person reads and what a shell knows of the tool.
set(documentation_dir share/doc/service-mediainfo)
install(FILES LICENSE NOTICE docs/how-do-i.md docs/mediaprobe.md docs/module-check.md docs/hosts.md docs/record.schema.json
  DESTINATION ${documentation_dir})
install(FILES examples/describe/CMakeLists.txt examples/describe/describe.cc
  DESTINATION ${documentation_dir}/examples/describe)
install(FILES packaging/mediaprobe.1 packaging/module-check.1 DESTINATION share/man/man1)
foreach(command mediaprobe module-check)
  install(FILES packaging/completions/${command}.bash RENAME ${command} DESTINATION share/bash-completion/completions)
  install(FILES packaging/completions/_${command} DESTINATION share/zsh/site-functions)
  install(FILES packaging/completions/${command}.fish DESTINATION share/fish/vendor_completions.d)
endforeach()

# For hosts that load the module.
include(CMakePackageConfigHelpers)
set(config_dir "${PROJECT_BINARY_DIR}/packaging")
configure_package_config_file(packaging/service-mediainfo-config.cmake.in
  "${config_dir}/service-mediainfo-config.cmake"
  INSTALL_DESTINATION lib/cmake/service-mediainfo
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${config_dir}/service-mediainfo-config-version.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${config_dir}/service-mediainfo-config.cmake" "${config_dir}/service-mediainfo-config-version.cmake"
  DESTINATION lib/cmake/service-mediainfo)
configure_file(packaging/service-mediainfo.pc.in "${config_dir}/service-mediainfo.pc" @ONLY)
install(FILES "${config_dir}/service-mediainfo.pc" DESTINATION lib/pkgconfig)

add_custom_target(product)
add_dependencies(product mediaprobe module-check ${libraries} ${run_time_libraries})
