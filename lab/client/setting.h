// The settings interface over one recorder.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "lab/recorder/recorder.h"
#include "storage/service.h"

namespace lab::client {

class setting final : public IStorageSetting {
 public:
  explicit setting(std::shared_ptr<recorder const> from) : recorder_(std::move(from)) {}
  virtual ~setting() = default;
  setting(setting const&) = delete;
  setting& operator=(setting const&) = delete;

  // Keeps the name, type and state for apply_volume_setting(). Refuses an
  // unknown volume, codes that do not exist, and a body that was not read from
  // that volume (its volume_no or space_uuid is another's).
  int set_volume_info(kivsid const& volume, volume_body const& body) override;
  int get_volume_info(kivsid const& volume, volume_body& body) override;

  // Writes all that is kept for the space's volumes in one transaction. What
  // could not be written stays kept.
  int apply_volume_setting(char const* space_uuid) override;

  int get_space_channel_list(kivsid const& space, std::list<channel_sid>& channels) override;
  int get_channel_total_recording_size(kivsid const& space, channel_sid const& channel,
                                       std::int64_t* size) override;
  int get_channel_recording_size(kivsid const& space, channel_sid const& channel,
                                 int recording_type, std::int64_t* size) override;
  int get_space_channel_storage_list(kivsid const& space,
                                     std::list<channel_storage_info>& pairings) override;
  int get_space_list(std::list<space_info>& spaces) override;
  int get_volume_list(std::list<volume_info>& volumes) override;
  int get_channel_list(std::list<channel_setting>& channels, int selector) override;

 private:
  struct kept_change {
    std::string space_uuid;
    volume_change change;
  };

  void keep(kivsid const& id, volume_body const& body);
  void apply(std::string const& space_uuid);

  std::shared_ptr<recorder const> recorder_;
  std::vector<kept_change> kept_;
};

}  // namespace lab::client
