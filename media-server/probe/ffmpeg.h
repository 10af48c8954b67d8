#pragma once

/// libav* headers, which are C.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mem.h>
#include <libavutil/pixdesc.h>
#include <libavutil/stereo3d.h>
}

// Names and numbers of FFmpeg 6.1 for the releases before it.
#ifndef AV_PROFILE_UNKNOWN
#define AV_PROFILE_MPEG4_SIMPLE_STUDIO FF_PROFILE_MPEG4_SIMPLE_STUDIO
#define AV_PROFILE_DTS FF_PROFILE_DTS
#define AV_PROFILE_DTS_HD_MA FF_PROFILE_DTS_HD_MA
#endif
#ifndef AV_PROFILE_DTS_HD_MA_X
#define AV_PROFILE_DTS_HD_MA_X 61
#define AV_PROFILE_DTS_HD_MA_X_IMAX 62
#endif
