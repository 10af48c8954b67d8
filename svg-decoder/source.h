#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace svg_decoder {

/// A document's bytes, piece by piece.
class ISource {
 public:
  /// Up to `size` bytes to `buffer`: how many, 0 only at the end. Empty, with the reason in CoreErrorText, on failure.
  virtual std::optional<std::size_t> Read(char* buffer, std::size_t size) = 0;

 protected:
  ~ISource() = default;
};

/// Bytes in memory, which the caller keeps.
class MemorySource final : public ISource {
 public:
  explicit MemorySource(std::string_view bytes) : rest_(bytes) {}
  std::optional<std::size_t> Read(char* buffer, std::size_t size) override;

 private:
  std::string_view rest_;
};

class File;
class Inflater;

/// A file, unpacked where it is gzip data (.svgz), whatever its name. Reading fails for broken gzip data and past 32
/// MB, packed or unpacked.
class FileSource final : public ISource {
 public:
  /// `url` (UTF-8) is a path, or "file:/" and a path. Null, with the reason in CoreErrorText, for network URLs, for
  /// what is no regular file or cannot be read, for an empty file and for one of more than 32 MB.
  static std::unique_ptr<FileSource> Open(std::string_view url);

  explicit FileSource(std::unique_ptr<File> file);
  ~FileSource();

  std::optional<std::size_t> Read(char* buffer, std::size_t size) override;
  /// All that is left.
  std::optional<std::string> ReadAll();

 private:
  bool Start();
  std::optional<std::size_t> ReadPlain(char* buffer, std::size_t size);
  std::optional<std::size_t> ReadPacked(char* buffer, std::size_t size);
  /// Reads on to `rest_`, on the terms of Read.
  std::optional<std::size_t> Refill();

  std::unique_ptr<File> file_;
  std::unique_ptr<Inflater> inflater_;
  /// What was read from the file and not yet given on.
  std::string input_;
  std::string_view rest_;
  std::size_t given_ = 0;
};

}  // namespace svg_decoder
