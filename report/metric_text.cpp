#include "report/metric_text.h"

#include <cstdio>
#include <map>
#include <set>
#include <string_view>

namespace report {

namespace {

std::string escaped(std::string_view text) {
  std::string result;
  for (char const character : text) {
    if (character == '\n') {
      result += "\\n";
      continue;
    }
    if (character == '\\' || character == '"') result += '\\';
    result += character;
  }
  return result;
}

std::string text_of(metric_labels const& labels) {
  std::string text;
  for (auto const& [name, value] : labels) {
    text += text.empty() ? "{" : ",";
    text += std::string(name) + "=\"" + escaped(value) + '"';
  }
  return text.empty() ? text : text + '}';
}

std::string own_name(named const& of) {
  if (!of.name.empty()) return of.name;
  return of.id.empty() ? "unnamed" : of.id;
}

}  // namespace

void metric::add(metric_labels const& labels, std::string const& number) {
  std::string const name = name_;
  if (!std::exchange(has_head_, true)) {
    page_ += "# HELP " + name + ' ' + help_ + "\n# TYPE " + name + " gauge\n";
  }
  page_ += name + text_of(labels) + ' ' + number + '\n';
}

std::string bytes_of_mb(double mb) {
  constexpr double bytes_in_mb = 1024.0 * 1024.0;
  char text[64];
  std::snprintf(text, sizeof text, "%.0f", mb * bytes_in_mb);
  return text;
}

std::string seconds_of_ms(std::int64_t ms) {
  std::int64_t const seconds = ms / 1000;
  std::int64_t const rest = ms % 1000;
  std::string text = ms < 0 && seconds == 0 ? "-0" : std::to_string(seconds);
  if (rest != 0) text += '.' + std::to_string(1000 + (rest < 0 ? -rest : rest)).substr(1);
  return text;
}

std::vector<std::string> distinct_names(std::vector<named> const& all) {
  std::map<std::string, std::size_t> owners;
  for (named const& each : all) ++owners[own_name(each)];

  std::vector<std::string> names;
  std::set<std::string> used;
  std::map<std::string, std::size_t> numbers;  // the last one given behind a text
  for (named const& each : all) {
    std::string text = own_name(each);
    if (owners[text] > 1) text += " (" + each.id + ')';
    std::string name = text;
    while (!used.insert(name).second) {
      std::size_t& number = numbers.try_emplace(text, 1).first->second;
      name = text + " #" + std::to_string(++number);
    }
    names.push_back(std::move(name));
  }
  return names;
}

}  // namespace report
