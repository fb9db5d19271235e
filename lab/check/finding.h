// A finding: one way in which a recorder's folders and its catalogue disagree.
#pragma once

#include <string>
#include <vector>

namespace lab {

// lab/check/check.md says what each of them is.
enum class finding_class {
  corrupt,
  not_mounted,
  unreadable,
  in_transit,
  wrong_volume,
  misplaced,
  duplicate,
  cross_linked,
  missing,
  bad,
  too_short,
  too_long,
  unknown,
  leak,
  null_id,
  period,
  sums,
};

struct finding {
  finding_class what;
  std::string place;  // "volume vol1", "catalogue", "recorder", or a period's name
  std::string text;

  bool operator==(finding const& other) const;
};

using findings = std::vector<finding>;

// Whether a file may be there, or lie behind it, that is missing elsewhere.
bool may_hide_a_recording(finding const& which);

// The class's printed word, such as "not-mounted".
char const* word_of(finding_class what);

// "<class>: <place>: <text>"
std::string printed(finding const& which);

}  // namespace lab
