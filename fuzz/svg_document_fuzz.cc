#include <cstdint>
#include <string>

#include "core/error_text.h"
#include "fuzz/memory_file.h"
#include "svg-decoder/document.h"
#include "svg-decoder/layout_size.h"
#include "svg-decoder/source.h"

namespace svg_decoder {
namespace {

/// Longer documents would take seconds byte by byte.
constexpr std::size_t kMostSlowBytes = 64 * 1024;

/// Gives a byte at a time.
class SlowSource final : public ISource {
 public:
  explicit SlowSource(std::string_view bytes) : bytes_(bytes) {}
  std::optional<std::size_t> Read(char* buffer, std::size_t /*size*/) override { return bytes_.Read(buffer, 1); }

 private:
  MemorySource bytes_;
};

std::optional<RootElement> ReadTold(ISource& source) {
  CoreSetErrorText(nullptr);
  const std::optional<RootElement> root = ReadDocument(source);
  FUZZ_CHECK(root.has_value() == (*CoreErrorText() == '\0'));
  return root;
}

void CheckSize(const PixelSize& size) { FUZZ_CHECK(size.width >= 1 && size.height >= 1); }

}  // namespace
}  // namespace svg_decoder

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace svg_decoder;
  const fuzz::MemoryFile file(data, size);
  const auto source = FileSource::Open(file.path());
  FUZZ_CHECK((source != nullptr) == (size != 0));
  if (!source) return 0;
  const std::optional<RootElement> root = ReadTold(*source);
  if (!root) return 0;
  CheckSize(LayoutSize(*root));
  CheckSize(ViewSize(*root));

  const auto again = FileSource::Open(file.path());
  const std::optional<std::string> document = again->ReadAll();
  FUZZ_CHECK(document.has_value());
  if (document->size() > kMostSlowBytes) return 0;
  SlowSource slow(*document);
  const std::optional<RootElement> slow_root = ReadTold(slow);
  FUZZ_CHECK(slow_root && LayoutSize(*slow_root) == LayoutSize(*root) && ViewSize(*slow_root) == ViewSize(*root));
  return 0;
}
