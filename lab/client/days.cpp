#include "lab/client/days.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "lab/client/find.h"
#include "lab/client/operation.h"
#include "storage/text.h"

namespace lab::client {

namespace {

constexpr std::size_t compared_characters = 31;

// A block that its receiver releases with free().
struct freed {
  void operator()(void* block) const noexcept { std::free(block); }  // NOLINT(*-no-malloc)
};
using text_block = std::unique_ptr<char, freed>;

text_block allocate_text(std::string const& text) {
  text_block block(strdup(text.c_str()));
  if (!block) throw std::bad_alloc();
  return block;
}

std::vector<std::string> asked_storage_ids(std::list<storage_id_text> const& storage_ids) {
  std::vector<std::string> ids;
  for (storage_id_text const& each : storage_ids) {
    ids.emplace_back(st::field_text(each.text).substr(0, compared_characters));
  }
  return ids;
}

day_list allocate_days(std::vector<std::string> const& dates) {
  if (dates.empty()) return {};
  std::vector<text_block> texts;
  texts.reserve(dates.size());
  for (std::string const& date : dates) texts.push_back(allocate_text(date));
  auto* const array = static_cast<char**>(std::calloc(texts.size(), sizeof(char*)));
  if (array == nullptr) throw std::bad_alloc();
  for (std::size_t i = 0; i < texts.size(); ++i) array[i] = texts[i].release();
  return {static_cast<std::int32_t>(texts.size()), array};
}

}  // namespace

int recording_days(char const* name, recorder const& from, channel_sid const& of,
                   int recording_type, int selector, std::list<storage_id_text> const& storage_ids,
                   day_list* days) {
  std::vector<json> ids;
  for (storage_id_text const& each : storage_ids) ids.emplace_back(st::field_text(each.text));
  return operation(
      name,
      json::object({{"channel", describe_channel(of)},
                    {"recording_type", recording_type},
                    {"selector", selector},
                    {"storage_ids", json::array(ids)}}),
      days, [&] {
        if (days == nullptr) throw error("there is no place for the days");
        std::int64_t const channel_id = find_channel(from, of).id;
        *days = allocate_days(from.days(
            channel_id, recording_type,
            storage_ids.empty() ? from.storage_ids(channel_id) : asked_storage_ids(storage_ids)));
      });
}

}  // namespace lab::client
