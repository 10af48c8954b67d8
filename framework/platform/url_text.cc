#include "platform/url_text.h"

#include <algorithm>
#include <array>

namespace platform {
namespace {

constexpr std::string_view kMask = "***";
constexpr std::string_view kSeparator = "://";
constexpr std::array<std::string_view, 2> kLocalSchemes{"file", "files"};

constexpr bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
/// RFC 3986, 3.1.
constexpr bool IsOfScheme(char c) { return IsLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '.' || c == '-'; }

/// Length of the scheme that ends at the end of `text`; 0 for none.
std::size_t SchemeLength(std::string_view text) {
  const auto first = std::find_if_not(text.rbegin(), text.rend(), IsOfScheme);
  return static_cast<std::size_t>(first - text.rbegin());
}

bool IsLocal(std::string_view scheme) {
  return std::ranges::any_of(kLocalSchemes, [&](std::string_view local) {
    return std::ranges::equal(scheme, local, [](char one, char other) { return (one | ' ') == other; });
  });
}

/// Names stay, values go; so does what has no name.
void AppendMaskedQuery(std::string_view query, std::string& shown) {
  while (true) {
    const std::size_t end = std::min(query.find('&'), query.size());
    const std::string_view pair = query.substr(0, end);
    const std::size_t equals = pair.find('=');
    if (equals != std::string_view::npos) shown.append(pair.substr(0, equals + 1));
    if (!pair.empty()) shown += kMask;
    if (end == query.size()) return;
    shown += '&';
    query.remove_prefix(end + 1);
  }
}

/// Host and path, without user name and password. The path may be another URL, as those of archives and proxies are.
void AppendWithoutUsers(std::string_view place, std::string& shown) {
  while (true) {
    const std::size_t host_end = std::min(place.find('/'), place.size());
    const std::size_t at = place.substr(0, host_end).rfind('@');
    if (at != std::string_view::npos) {
      shown += kMask;
      place.remove_prefix(at);
    }
    const std::size_t next = place.find(kSeparator);
    if (next == std::string_view::npos) break;
    shown.append(place.substr(0, next + kSeparator.size()));
    place.remove_prefix(next + kSeparator.size());
  }
  shown.append(place);
}

/// What follows the scheme and its separator.
void AppendMasked(std::string_view rest, std::string& shown) {
  const std::size_t fragment = std::min(rest.find('#'), rest.size());
  const std::size_t query = std::min(rest.find('?'), fragment);
  AppendWithoutUsers(rest.substr(0, query), shown);
  if (query < fragment) {
    shown += '?';
    AppendMaskedQuery(rest.substr(query + 1, fragment - query - 1), shown);
  }
  if (fragment < rest.size()) shown.append("#").append(kMask);
}

}  // namespace

std::string MaskUrl(std::string_view url) {
  const std::size_t separator = url.find(kSeparator);
  if (separator == std::string_view::npos) return std::string(url);
  // What a list has in front of a URL, such as a byte order mark or a quotation mark, makes it none, but not less
  // secret.
  const std::string_view front = url.substr(0, separator);
  const std::size_t scheme_length = SchemeLength(front);
  if (scheme_length == 0 || IsLocal(front.substr(front.size() - scheme_length))) return std::string(url);
  std::string shown(url.substr(0, separator + kSeparator.size()));
  AppendMasked(url.substr(shown.size()), shown);
  return shown;
}

std::string MaskUrls(std::string_view line) {
  std::string shown;
  std::size_t done = 0;
  for (std::size_t at = line.find(kSeparator); at != std::string_view::npos; at = line.find(kSeparator, at)) {
    const std::size_t start = at - SchemeLength(line.substr(done, at - done));
    at += kSeparator.size();
    const auto* end = std::find_if(line.begin() + static_cast<std::ptrdiff_t>(at), line.end(),
                                   [](char c) { return static_cast<unsigned char>(c) <= ' '; });
    // A path may hold another URL.
    if (IsLocal(line.substr(start, at - kSeparator.size() - start))) continue;
    const auto past = static_cast<std::size_t>(end - line.begin());
    shown.append(line.substr(done, start - done)).append(MaskUrl(line.substr(start, past - start)));
    done = at = past;
  }
  return shown.append(line.substr(done));
}

}  // namespace platform
