# FFmpeg::probe    libavformat, libavcodec, libavutil for reading local files: all containers, no network
# FFmpeg::network  libavformat and libavutil with http, https and tls only

# mediainfo_add_ffmpeg(<name> <root> <library>...): an imported target for one static build. Its libraries stay private
# to what links them: --exclude-libs keeps their symbols, and only theirs, out of the dynamic symbol table.
function(mediainfo_add_ffmpeg name root)
  add_library(FFmpeg::${name} INTERFACE IMPORTED)
  target_include_directories(FFmpeg::${name} INTERFACE "${root}/include")
  list(TRANSFORM ARGN PREPEND "${root}/lib/lib")
  list(TRANSFORM ARGN APPEND ".a")
  target_link_libraries(FFmpeg::${name} INTERFACE ${ARGN} Threads::Threads m)
  set(archives ${ARGN})
  list(TRANSFORM archives REPLACE ".*/" "")
  list(JOIN archives ":" archives)
  target_link_options(FFmpeg::${name} INTERFACE LINKER:--exclude-libs,${archives})
endfunction()

if(MEDIAINFO_SYSTEM_FFMPEG)
  find_package(PkgConfig REQUIRED)
  # 59.27 and so on are the libraries of FFmpeg 5.1.
  pkg_check_modules(SYSTEM_FFMPEG REQUIRED IMPORTED_TARGET
    libavformat>=59.27
    libavcodec>=59.37
    libavutil>=57.28)
  foreach(name probe network)
    add_library(FFmpeg::${name} INTERFACE IMPORTED)
    target_link_libraries(FFmpeg::${name} INTERFACE PkgConfig::SYSTEM_FFMPEG)
  endforeach()
  return()
endif()

message(STATUS "FFmpeg: taking the trimmed static build (the first time builds it: some minutes)")
execute_process(
  COMMAND "${PROJECT_SOURCE_DIR}/scripts/ffmpeg"
  OUTPUT_VARIABLE ffmpeg_root
  OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
message(STATUS "FFmpeg: ${ffmpeg_root}")

find_package(ZLIB REQUIRED)
mediainfo_add_ffmpeg(probe "${ffmpeg_root}/probe" avformat avcodec avutil)
target_link_libraries(FFmpeg::probe INTERFACE ZLIB::ZLIB)

find_package(OpenSSL REQUIRED)
mediainfo_add_ffmpeg(network "${ffmpeg_root}/network" avformat avcodec avutil)
target_link_libraries(FFmpeg::network INTERFACE OpenSSL::SSL OpenSSL::Crypto)
