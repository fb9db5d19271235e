// Edits of bytes.
#include <algorithm>

#include "edit_kinds.h"

namespace hostile {

namespace fs = std::filesystem;

namespace {

constexpr char journal_magic[] = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
constexpr std::uint32_t sector = 512;
constexpr std::uint32_t nonce = 7;

std::vector<std::string> const files{"catalogue.db", "catalogue.db", "catalogue.db-journal"};

bool is_file(fs::path const& path) {
  std::error_code ignored;
  return fs::is_regular_file(fs::symlink_status(path, ignored));
}

std::string bytes_of(fs::path const& file) {
  return is_file(file) ? support::content_of(file) : "";
}

std::string big_endian(std::uint32_t number) {
  std::string bytes;
  for (unsigned shift = 32; shift > 0; shift -= 8) {
    bytes += static_cast<char>((number >> (shift - 8)) & 0xffU);
  }
  return bytes;
}

std::string flips(lying_recorder& in, chooser& choose) {
  auto const name = choose.of(files);
  auto bytes = bytes_of(in.recorder() / name);
  if (bytes.empty()) return "bytes: nothing to flip in " + name;
  std::size_t const range =
      choose.one_in(3) ? std::min<std::size_t>(bytes.size(), 100) : bytes.size();
  std::size_t const count = std::size_t{1} << choose.below(8);
  for (std::size_t i = 0; i < count; ++i) {
    bytes[choose.below(range)] = static_cast<char>(choose.below(256));
  }
  support::write_file(in.recorder() / name, bytes);
  return "bytes: " + std::to_string(count) + " of the first " + std::to_string(range) + " in " +
         name;
}

std::string truncation(lying_recorder& in, chooser& choose) {
  auto const name = choose.of(files);
  auto bytes = bytes_of(in.recorder() / name);
  bytes.resize(choose.one_in(4) ? 0 : choose.below(bytes.size() + 1));
  support::write_file(in.recorder() / name, bytes);
  return "bytes: " + name + " cut to " + std::to_string(bytes.size());
}

std::string appendix(lying_recorder& in, chooser& choose) {
  auto const name = choose.of(files);
  auto bytes = bytes_of(in.recorder() / name);
  std::size_t const count = choose.below(100'000);
  for (std::size_t i = 0; i < count; ++i) bytes += static_cast<char>(choose.below(256));
  support::write_file(in.recorder() / name, bytes);
  return "bytes: " + std::to_string(count) + " appended to " + name;
}

std::string other_file(lying_recorder& in, chooser& choose) {
  auto const source = choose.of({"catalogue.db-journal", "share/vol1/identity"});
  support::write_file(in.recorder() / "catalogue.db", bytes_of(in.recorder() / source));
  return "bytes: catalogue.db is a copy of " + source;
}

// A journal that undoes what never was, which names another file as the one
// that it belongs to: who undoes it would remove that file.
std::string hot_journal(lying_recorder& in, chooser& choose) {
  auto const catalogue = bytes_of(in.recorder() / "catalogue.db");
  auto const pages = static_cast<std::uint32_t>(catalogue.size() / page_size);
  std::vector<std::uint32_t> const counts{0, 1, 2, 0xffffffffU, 0x7fffffffU};
  std::vector<std::uint32_t> const sizes{pages, pages, 0, 1, 0x7fffffffU};
  auto const count = choose.of(counts);
  auto const size = choose.of(sizes);
  std::string journal = journal_head(count, size);
  for (std::uint32_t each = 0; each < std::min<std::uint32_t>(count, 2) && pages > 0; ++each) {
    auto const number = static_cast<std::uint32_t>(choose.below(pages)) + 1;
    auto page = catalogue.substr((number - 1) * std::size_t{page_size}, page_size);
    if (choose.one_in(2)) page[choose.below(page.size())] ^= '\x55';
    std::uint32_t sum = nonce;
    for (std::size_t at = page_size - 200; at < page_size; at -= 200) {
      sum += static_cast<unsigned char>(page[at]);
    }
    journal += big_endian(number) + page + big_endian(sum);
  }
  auto const owner = choose.of({"", (in.victim() / "passwd").string(),
                                (in.victim() / "recorder/catalogue.db").string(), "victim/passwd"});
  if (!owner.empty()) journal += journal_owner(owner);
  support::write_file(in.recorder() / "catalogue.db-journal", journal);
  return "bytes: a journal of " + std::to_string(count) + " pages, size " + std::to_string(size) +
         ", which belongs to " + shown(owner);
}

std::string log_beside(lying_recorder& in, chooser& choose) {
  std::string bytes;
  for (std::size_t count = choose.below(50'000); count > 0; --count) {
    bytes += static_cast<char>(choose.below(256));
  }
  auto const name = choose.one_in(2) ? "catalogue.db-wal" : "catalogue.db-shm";
  auto catalogue = bytes_of(in.recorder() / "catalogue.db");
  if (catalogue.size() > 20 && choose.one_in(2)) {
    catalogue[18] = 2;
    catalogue[19] = 2;
    support::write_file(in.recorder() / "catalogue.db", catalogue);
  }
  support::write_file(in.recorder() / name, bytes);
  return std::string("bytes: ") + std::to_string(bytes.size()) + " in " + name;
}

}  // namespace

std::string journal_head(std::uint32_t count, std::uint32_t pages) {
  std::string head = std::string(journal_magic, 8) + big_endian(count) + big_endian(nonce) +
                     big_endian(pages) + big_endian(sector) + big_endian(page_size);
  head.resize(sector, '\0');
  return head;
}

std::string journal_owner(std::string const& owner) {
  std::uint32_t sum = 0;
  for (char const each : owner) sum += static_cast<unsigned char>(each);
  return big_endian(0x40000000U / page_size + 1) + owner +
         big_endian(static_cast<std::uint32_t>(owner.size())) + big_endian(sum) +
         std::string(journal_magic, 8);
}

std::vector<edit> const& byte_edits() {
  static std::vector<edit> const all{flips,      flips,       truncation,  appendix,
                                     other_file, hot_journal, hot_journal, log_beside};
  return all;
}

}  // namespace hostile
