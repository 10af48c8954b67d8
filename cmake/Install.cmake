# <prefix>/bin/mediaprobe, <prefix>/lib/mediainfo/*.so and <prefix>/lib/mediainfo/userepace/*.dll: the paths are looked
# up relative to the tool and to the module, so they are not left to GNUInstallDirs.

set(libraries core service MediaServer MediaServerDigest MediaServerNetwork service-mediainfo)
set(run_time_libraries COMSupport QK_log)

install(TARGETS ${libraries} LIBRARY DESTINATION lib/mediainfo)
install(TARGETS ${run_time_libraries} LIBRARY DESTINATION lib/mediainfo/userepace)
install(TARGETS mediaprobe RUNTIME DESTINATION bin)
install(FILES LICENSE NOTICE DESTINATION share/doc/service-mediainfo)

add_custom_target(product)
add_dependencies(product mediaprobe ${libraries} ${run_time_libraries})
