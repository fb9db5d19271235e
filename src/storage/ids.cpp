#include "storage/ids.h"

namespace st {

std::array<char, 37> id_characters(kivsid const& id) noexcept {
  std::array<char, 37> characters{};
  std::memcpy(characters.data(), &id.number, sizeof id.number);
  std::memcpy(characters.data() + sizeof id.number, id.text, sizeof id.text);
  return characters;
}

channel_sid identity_of(channel_sid const& channel) noexcept {
  channel_sid identity;
  identity.number = channel.number;
  std::memcpy(identity.id, channel.id, sizeof identity.id);
  return identity;
}

bool is_max_id(channel_sid const& channel) noexcept {
  // The text alone counts: channels have numbers of their own.
  return same_id(channel.id, max_kivsid.text);
}

}  // namespace st
