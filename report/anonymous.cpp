// Each text that names something gets a stand-in when it is first met. Lines for persons
// may name anything: known texts in them get their stand-ins, and what else looks like
// an id or a path is masked; of what the service said in its own words nothing is kept.
#include "report/anonymous.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string_view>

#include "report/ask.h"

namespace report {

namespace {

constexpr std::string_view not_told = "(not told)";
constexpr std::size_t shortest_known = 3;  // shorter ones would be met everywhere in a line
// What they are met behind when they stand for themselves.
constexpr std::string_view naming[] = {"space ", "volume ", "holds what is no text: "};
constexpr std::size_t shortest_id = 16;
constexpr std::size_t id_length = 32;
constexpr std::size_t long_id_length = 36;

bool is_letter(char each) { return (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z'); }
bool is_digit(char each) { return each >= '0' && each <= '9'; }

std::string padded(std::size_t number, std::size_t length) {
  auto const digits = std::to_string(number);
  return std::string(length - std::min(length, digits.size()), '0') + digits;
}

// Of the length and form that ids of that length have.
std::string id_like(std::size_t length, std::size_t number) {
  if (length == id_length) return "a" + padded(number, id_length - 1);
  if (length == long_id_length) return "a0000000-0000-0000-0000-" + padded(number, 12);
  return "id " + std::to_string(number);
}

// Whether a word of a line may be an id or a path that is not known.
bool is_telling(std::string_view word) {
  if (word.find('/') != std::string_view::npos) return true;
  return word.size() >= shortest_id && std::any_of(word.begin(), word.end(), is_digit);
}

std::string masked(std::string_view text) {
  std::string done;
  while (!text.empty()) {
    auto const word = text.substr(0, text.find(' '));
    done += is_telling(word) ? not_told : word;
    text.remove_prefix(word.size());
    auto const blanks = std::min(text.find_first_not_of(' '), text.size());
    done += text.substr(0, blanks);
    text.remove_prefix(blanks);
  }
  return done;
}

bool ends_with(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Whether what lies between the two is named there, as a whole.
bool is_named_between(std::string_view before, std::string_view behind) {
  bool const ends = behind.empty() || behind.front() == ' ' || behind.front() == ':';
  return ends && std::any_of(std::begin(naming), std::end(naming),
                             [&](std::string_view each) { return ends_with(before, each); });
}

class stand_ins {
 public:
  // The stand-in of a text, the one that `make` gives for a new number if it has none;
  // empty for an empty text.
  std::string of(std::string const& text,
                 std::function<std::string(std::size_t number)> const& make, std::size_t& count) {
    if (text.empty()) return {};
    auto const [found, is_new] = given_.emplace(text, std::string());
    if (is_new) {
      found->second = make(++count);
      lengths_.insert(text.size());
    }
    return found->second;
  }

  // The line with stand-ins for the texts in it, the longest first.
  std::string in_line(std::string_view line) const {
    std::string done;
    std::size_t copied = 0;
    for (std::size_t at = 0; at < line.size();) {
      auto const found = longest_at(line, at);
      if (found == given_.end()) {
        ++at;
        continue;
      }
      done += masked(line.substr(copied, at - copied)) + found->second;
      at += found->first.size();
      copied = at;
    }
    return done + masked(line.substr(copied));
  }

 private:
  using texts = std::map<std::string, std::string, std::less<>>;

  texts::const_iterator longest_at(std::string_view line, std::size_t at) const {
    auto const rest = line.substr(at);
    for (auto const length : lengths_) {
      if (length > rest.size()) continue;
      bool const is_met =
          length >= shortest_known || is_named_between(line.substr(0, at), rest.substr(length));
      if (!is_met) continue;
      auto const found = given_.find(rest.substr(0, length));
      if (found != given_.end()) return found;
    }
    return given_.end();
  }

  texts given_;
  std::set<std::size_t, std::greater<>> lengths_;
};

class anonymiser {
 public:
  void change(value& of) {
    keep_options(of.arguments);
    for (auto& each : of.spaces) change(each);
    for (auto& each : of.volumes) change(each);
    for (auto& each : of.channels) change(each);
    if (of.would_do) {
      for (auto& each : of.would_do->autoclean) each.target = volume_name(each.target);
      for (auto& each : of.would_do->volclean) each.target = space_name(each.target);
    }
    // When everything is known that they may name.
    for (auto& each : of.needs) {
      each.subject = known_.in_line(each.subject);
      each.text = known_.in_line(each.text);
    }
    for (auto& line : of.not_asked) {
      bool const is_of_service = line.rfind(ended_early, 0) == 0;
      line = is_of_service ? ended_early + std::string(not_told) : known_.in_line(line);
    }
    for (auto& line : of.problems) line = known_.in_line(line);
  }

 private:
  std::string id(std::string const& text) {
    return known_.of(
        text, [&text](std::size_t number) { return id_like(text.size(), number); }, ids_);
  }

  std::string named(std::string const& text, std::string const& kind, std::size_t& count) {
    return known_.of(
        text, [&kind](std::size_t number) { return kind + std::to_string(number); }, count);
  }

  std::string space_name(std::string const& text) { return named(text, "space ", spaces_); }
  std::string volume_name(std::string const& text) { return named(text, "vol ", volumes_); }

  // Only the words that begin as options do, without what is set to them.
  static void keep_options(std::vector<std::string>& arguments) {
    std::vector<std::string> kept;
    for (auto const& word : arguments) {
      if (word == "--") break;
      auto const option = word.substr(0, word.find('='));
      bool const is_option = option.size() >= 2 && option.front() == '-' &&
                             std::any_of(option.begin(), option.end(), is_letter) &&
                             std::all_of(option.begin(), option.end(),
                                         [](char each) { return each == '-' || is_letter(each); });
      if (is_option) kept.push_back(option);
    }
    arguments = kept;
  }

  void change(space& of) {
    of.id = id(of.id);
    of.uuid = id(of.uuid);
    of.name = space_name(of.name);
  }

  void change(volume& of) {
    of.id = id(of.id);
    of.space_uuid = id(of.space_uuid);
    of.name = volume_name(of.name);
    of.path = named(of.path, "share/vol", paths_);
  }

  void change(channel& of) {
    of.id = id(of.id);
    for (auto& each : of.volumes) each = volume_name(each);
    for (auto& each : of.sizes) each.space_uuid = id(each.space_uuid);
    for (auto& each : of.streams) {
      for (auto& one : each.periods) one.storage_id = id(std::string(one.storage_id.view()));
    }
  }

  stand_ins known_;
  std::size_t spaces_ = 0;
  std::size_t volumes_ = 0;
  std::size_t paths_ = 0;
  std::size_t ids_ = 0;
};

}  // namespace

value anonymous(value of) {
  anonymiser().change(of);
  return of;
}

}  // namespace report
