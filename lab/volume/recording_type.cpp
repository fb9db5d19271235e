#include "lab/volume/recording_type.h"

#include <algorithm>

namespace lab {

recording_type const* find_recording_type(std::int32_t code) {
  auto const* const found =
      std::find_if(recording_types.begin(), recording_types.end(),
                   [code](recording_type const& each) { return each.code == code; });
  return found == recording_types.end() ? nullptr : found;
}

char const* letters_of_type(std::int32_t code) {
  auto const* const found = find_recording_type(code);
  return found == nullptr ? manual_recording.letters : found->letters;
}

}  // namespace lab
