#include "elf_file.h"

#include <elf.h>

#include <bit>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <span>
#include <string_view>

namespace module_check {
namespace {

constexpr unsigned char kByteOrder = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

/// Thrown where a table or text lies outside the file.
struct Damaged {};

class Image {
 public:
  explicit Image(std::string bytes) : bytes_(std::move(bytes)) {}

  template <typename Record>
  Record At(std::uint64_t offset) const {
    if (offset > bytes_.size() || bytes_.size() - offset < sizeof(Record)) throw Damaged();
    Record record;
    std::memcpy(&record, bytes_.data() + offset, sizeof(Record));
    return record;
  }

  template <typename Record>
  std::vector<Record> Table(std::uint64_t offset, std::uint64_t count) const {
    if (count > bytes_.size() / sizeof(Record)) throw Damaged();
    std::vector<Record> table;
    for (std::uint64_t i = 0; i < count; ++i) table.push_back(At<Record>(offset + i * sizeof(Record)));
    return table;
  }

  std::string Text(std::uint64_t offset) const {
    if (offset >= bytes_.size()) throw Damaged();
    const std::size_t end = bytes_.find('\0', offset);
    if (end == std::string::npos) throw Damaged();
    return bytes_.substr(offset, end - offset);
  }

 private:
  std::string bytes_;
};

std::vector<std::string> Split(std::string_view text) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::size_t end = text.find(':');
    parts.emplace_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return parts;
}

void ReadSegments(const Image& image, const Elf64_Ehdr& header, ElfFile& out) {
  for (const Elf64_Phdr& segment : image.Table<Elf64_Phdr>(header.e_phoff, header.e_phnum)) {
    const bool is_executable = (segment.p_flags & PF_X) != 0;
    if (segment.p_type == PT_GNU_STACK) {
      out.has_stack_flags = true;
      out.has_executable_stack = is_executable;
    }
    if (segment.p_type == PT_GNU_RELRO) out.has_relro = true;
    if (segment.p_type == PT_LOAD && is_executable && (segment.p_flags & PF_W) != 0) out.has_writable_code = true;
  }
}

void ReadDynamicEntry(const Image& image, const Elf64_Dyn& entry, std::uint64_t texts, ElfFile& out) {
  const std::uint64_t value = entry.d_un.d_val;
  switch (entry.d_tag) {
    case DT_NEEDED:
      out.needed.push_back(image.Text(texts + value));
      break;
    case DT_RUNPATH:
    case DT_RPATH:
      for (std::string& folder : Split(image.Text(texts + value))) out.run_paths.push_back(std::move(folder));
      break;
    case DT_TEXTREL:
      out.has_text_relocations = true;
      break;
    case DT_FLAGS:
      if ((value & DF_TEXTREL) != 0) out.has_text_relocations = true;
      if ((value & DF_BIND_NOW) != 0) out.is_bound_at_once = true;
      out.has_static_tls = (value & DF_STATIC_TLS) != 0;
      break;
    case DT_BIND_NOW:
      out.is_bound_at_once = true;
      break;
    case DT_FLAGS_1:
      if ((value & DF_1_NOW) != 0) out.is_bound_at_once = true;
      out.stays_loaded = (value & DF_1_NODELETE) != 0;
      out.is_program = (value & DF_1_PIE) != 0;
      break;
    default:
      break;
  }
}

void ReadSymbol(const Image& image, const Elf64_Sym& symbol, std::uint64_t texts, ElfFile& out) {
  ElfFile::Symbol read;
  read.name = image.Text(texts + symbol.st_name);
  read.type = ELF64_ST_TYPE(symbol.st_info);
  read.binding = ELF64_ST_BIND(symbol.st_info);
  read.is_defined = symbol.st_shndx != SHN_UNDEF;
  read.is_absolute = symbol.st_shndx == SHN_ABS;
  if (read.binding != STB_LOCAL) out.symbols.push_back(std::move(read));
}

/// The tables are found by their sections, which strip leaves where the loader's tables are.
void ReadSections(const Image& image, const Elf64_Ehdr& header, ElfFile& out) {
  const auto sections = image.Table<Elf64_Shdr>(header.e_shoff, header.e_shnum);
  for (const Elf64_Shdr& section : sections) {
    if (section.sh_type != SHT_DYNAMIC && section.sh_type != SHT_DYNSYM) continue;
    if (section.sh_link >= sections.size()) throw Damaged();
    const std::uint64_t texts = sections[section.sh_link].sh_offset;
    if (section.sh_type == SHT_DYNAMIC) {
      for (const Elf64_Dyn& entry : image.Table<Elf64_Dyn>(section.sh_offset, section.sh_size / sizeof(Elf64_Dyn))) {
        ReadDynamicEntry(image, entry, texts, out);
      }
    } else {
      for (const Elf64_Sym& symbol : image.Table<Elf64_Sym>(section.sh_offset, section.sh_size / sizeof(Elf64_Sym))) {
        ReadSymbol(image, symbol, texts, out);
      }
    }
  }
}

std::optional<std::string> ReadBytes(const std::string& path, std::string* fault) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (file.is_open() && !file.bad()) return bytes;
  *fault = std::strerror(errno);
  return std::nullopt;
}

}  // namespace

std::optional<ElfFile> ReadElfFile(const std::string& path, std::string* fault) {
  std::optional<std::string> bytes = ReadBytes(path, fault);
  if (!bytes) return std::nullopt;
  if (!bytes->starts_with(ELFMAG)) {
    *fault = "not a shared object";
    return std::nullopt;
  }
  try {
    const Image image(std::move(*bytes));
    const auto header = image.At<Elf64_Ehdr>(0);
    if (header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_ident[EI_DATA] != kByteOrder || header.e_type != ET_DYN) {
      *fault = "not a shared object of 64 bits";
      return std::nullopt;
    }
    ElfFile file;
    file.machine = header.e_machine;
    ReadSegments(image, header, file);
    ReadSections(image, header, file);
    return file;
  } catch (const Damaged&) {
    *fault = "a damaged shared object";
    return std::nullopt;
  }
}

}  // namespace module_check
