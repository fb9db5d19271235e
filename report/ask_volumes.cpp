#include <algorithm>
#include <cstdio>
#include <list>
#include <unordered_set>
#include <utility>

#include "commands/leak.h"
#include "commands/preallocate_probe.h"
#include "report/asking.h"
#include "report/subject.h"
#include "storage/codes.h"
#include "storage/ids.h"
#include "storage/text.h"

namespace report {

namespace {

using seen_ids = std::unordered_set<std::string>;

std::string without_blanks(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

std::string status_name_of(space_info const& record) {
  char name[26];
  st::space_status_name(static_cast<std::uint32_t>(record.status), record.spare_state, name);
  return without_blanks(name);
}

std::string state_name_of(volume_info const& record) {
  char name[20];
  st::volume_state_name(record.body.state, name);
  return without_blanks(name);
}

std::string key_of(kivsid const& id) {
  auto const characters = st::id_characters(id);
  return std::string(characters.data(), characters.size() - 1);
}

template <std::size_t Width>
std::string key_of(char const (&id)[Width]) {
  return std::string(id, Width);
}

space space_of(asking& in, space_info const& record, std::size_t position) {
  auto const owner = [&] { return "space " + std::to_string(position) + " of the list"; };
  space told;
  told.id = in.clean(st::id_characters(record.sid).data(), "its id", owner);
  told.uuid = in.clean(st::field_text(record.uuid), "its uuid", owner);
  told.name = in.clean(st::field_text(record.name), "its name", owner);
  told.total_mb = record.total_size;
  told.used_mb = record.used_size;
  told.status = record.status;
  told.status_name = status_name_of(record);
  told.spare_state = record.spare_state;
  return told;
}

void check_space(asking& in, space const& told) {
  auto const owner = [&] { return subject_of(told); };
  in.check_size(told.total_mb, "its total size", owner);
  in.check_size(told.used_mb, "its used size", owner);
  in.check_use(told.used_mb, told.total_mb, owner);
}

// Under the name that st's lists show.
std::string shown_name(volume_body const& body) {
  char name[128];
  std::snprintf(name, sizeof name, "VolName_%d", body.share.volume_no);
  st::share_name_from_path(st::field_text(body.share.path), name, sizeof name);
  return name;
}

volume volume_of(asking& in, volume_info const& record, std::size_t position) {
  auto const owner = [&] { return "volume " + std::to_string(position) + " of the list"; };
  volume_body const& body = record.body;
  volume told;
  told.id = in.clean(st::field_text(record.sid.text), "its id", owner);
  told.name = in.clean(shown_name(body), "its name", owner);
  told.path = in.clean(st::field_text(body.share.path), "its path", owner);
  told.number = body.share.volume_no;
  told.space_uuid = in.clean(st::field_text(body.space_uuid), "its space's uuid", owner);
  told.type = body.type;
  told.state = body.state;
  told.state_name = state_name_of(record);
  told.total_mb = body.total_size;
  told.used_mb = body.used_size;
  return told;
}

void measure(volume& told, volume_info const& record) {
  std::int64_t preallocated = 0;
  switch (st::measure_preallocate_remain(record, &preallocated)) {
    case st::probe_end::no_folder:
      told.measured = measuring::not_mounted;
      return;
    case st::probe_end::no_du:
    case st::probe_end::silent_du:
      told.measured = measuring::failed;
      return;
    case st::probe_end::measured:
      break;
  }
  std::int64_t const lost = st::lost_size(told.total_mb, told.used_mb, preallocated);
  told.measured = measuring::done;
  told.preallocated_mb = preallocated;
  told.lost_mb = lost;
  told.leak = st::is_leak(lost, told.total_mb);
}

void check_volume(asking& in, volume const& told, volume_info const& record) {
  auto const owner = [&] { return subject_of(told); };
  in.check_size(told.total_mb, "its total size", owner);
  in.check_size(told.used_mb, "its used size", owner);
  in.check_use(told.used_mb, told.total_mb, owner);
  if (told.preallocated_mb) in.check_size(*told.preallocated_mb, "what du measured", owner);
  bool const is_known =
      !in.are_spaces_known ||
      std::any_of(in.spaces.begin(), in.spaces.end(), [&](space_info const& each) {
        return st::same_id(each.uuid, record.body.space_uuid);
      });
  if (!is_known) {
    in.problems.add(oddity::unknown_space,
                    [&] { return owner() + " belongs to no space that is listed"; });
  }
}

// Notes an id that was seen before.
void check_id(asking& in, seen_ids& seen, std::string id, std::string const& subject,
              char const* what) {
  if (seen.insert(std::move(id)).second) return;
  in.problems.add(oddity::doubled, [&] { return subject + ": another one has the same " + what; });
}

}  // namespace

void ask_spaces(asking& in, IStorageSetting& setting) {
  std::list<space_info> records;
  if (int const result = setting.get_space_list(records); result != 0) {
    in.miss("the spaces could not be listed", result);
    return;
  }
  in.are_spaces_known = true;
  seen_ids ids;
  seen_ids uuids;
  for (space_info const& record : records) {
    space const told = space_of(in, record, in.told.spaces.size() + 1);
    check_space(in, told);
    check_id(in, ids, key_of(record.sid), subject_of(told), "id");
    check_id(in, uuids, key_of(record.uuid), subject_of(told), "uuid");
    in.told.spaces.push_back(told);
    in.spaces.push_back(record);
  }
}

void ask_volumes(asking& in, IStorageSetting& setting) {
  std::list<volume_info> records;
  if (int const result = setting.get_volume_list(records); result != 0) {
    in.miss("the volumes could not be listed", result);
    return;
  }
  in.are_volumes_known = true;
  seen_ids ids;
  for (volume_info const& record : records) {
    volume told = volume_of(in, record, in.told.volumes.size() + 1);
    measure(told, record);
    check_volume(in, told, record);
    check_id(in, ids, key_of(record.sid.text), subject_of(told), "id");
    in.told.volumes.push_back(std::move(told));
    in.volumes.push_back(record);
  }
}

}  // namespace report
