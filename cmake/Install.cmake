# <prefix>/bin/mediaprobe, <prefix>/lib/mediainfo/*.so and <prefix>/lib/mediainfo/userepace/*.dll: the paths are looked
# up relative to the tool and to the module, so they are not left to GNUInstallDirs.

add_custom_target(product COMMENT "The tool and the libraries it loads")

foreach(target core service MediaServer MediaServerNetwork service-mediainfo svg-decoder)
  if(TARGET ${target})
    install(TARGETS ${target} LIBRARY DESTINATION lib/mediainfo)
    add_dependencies(product ${target})
  endif()
endforeach()
foreach(target COMSupport QK_log QK_MediaInfoLib)
  if(TARGET ${target})
    install(TARGETS ${target} LIBRARY DESTINATION lib/mediainfo/userepace)
    add_dependencies(product ${target})
  endif()
endforeach()
if(TARGET mediaprobe)
  install(TARGETS mediaprobe RUNTIME DESTINATION bin)
  add_dependencies(product mediaprobe)
endif()
