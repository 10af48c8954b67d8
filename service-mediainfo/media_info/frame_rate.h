#pragma once

#include "core/rational.h"

namespace service::mediainfo::media_info::impl {

/// Frames per second in steps of 1/1000, not reduced: 29.97 gives 29970/1000. 0, negative rates and not-a-number give
/// 1/1; a rate past the range gives the largest numerator.
core::Rational FrameRateToRational(double frames_per_second);

}  // namespace service::mediainfo::media_info::impl
