#include "lab/catalogue_values.h"
#include "lab/recorder_state.h"

namespace lab {

namespace {

volume_place place_in(statement const& row, std::filesystem::path const& recorder_folder) {
  std::string const name = volume_folder_in(row, 1);
  return {row.integer(0), name, storage_id_in(row, 2), recorder_folder / share_folder / name};
}

}  // namespace

volume_place place_of(database const& catalogue, std::filesystem::path const& recorder_folder,
                      std::int64_t volume_id) {
  statement query(catalogue, "SELECT id, folder, sid_text FROM volume WHERE id = ?");
  if (!query.with(volume_id).next()) {
    throw error("there is no volume with id " + std::to_string(volume_id));
  }
  return place_in(query, recorder_folder);
}

std::vector<volume_place> places_of(database const& catalogue,
                                    std::filesystem::path const& recorder_folder) {
  statement query(catalogue, "SELECT id, folder, sid_text FROM volume ORDER BY id");
  std::vector<volume_place> places;
  while (query.next()) places.push_back(place_in(query, recorder_folder));
  return places;
}

std::int32_t channel_number(database const& catalogue, std::int64_t channel_id) {
  statement query(catalogue, "SELECT number FROM channel WHERE id = ?");
  if (!query.with(channel_id).next()) {
    throw error("there is no channel with id " + std::to_string(channel_id));
  }
  return channel_number_in(query, 0);
}

}  // namespace lab
