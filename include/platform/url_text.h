#pragma once

#include <string>
#include <string_view>

namespace platform {

/// `url` as it may be shown: "***" stands for user name and password, for the values of the query (a name does not tell
/// whether its value is a secret), and for the fragment. What has no scheme stays as it is, and so do file URLs.
/// Something may stand in front of the scheme.
std::string MaskUrl(std::string_view url);

/// The same for every URL in a line, each up to the next blank.
std::string MaskUrls(std::string_view line);

}  // namespace platform
