// The lines of the text format that Prometheus reads.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace report {

// Names and values; values are plain text and are escaped where they are written.
using metric_labels = std::vector<std::pair<char const*, std::string>>;

// One metric: its HELP and TYPE stand once, in front of its first sample, and nothing
// is written without a sample. Every metric is a gauge.
class metric {
 public:
  // All three outlive the metric. The help holds no backslash.
  metric(std::string& page, char const* name, char const* help)
      : page_(page), name_(name), help_(help) {}

  // No labels are equal to those of another sample.
  void add(metric_labels const& labels, std::string const& number);

 private:
  std::string& page_;
  char const* name_;
  char const* help_;
  bool has_head_ = false;
};

// Numbers of samples. Any value is told; none depends on the locale.
std::string bytes_of_mb(double mb);
std::string seconds_of_ms(std::int64_t ms);
inline std::string flag(bool is_so) { return is_so ? "1" : "0"; }

// What is told apart by a name.
struct named {
  std::string name;
  std::string id;
};

// A text for each, no two alike, for labels. A name that only one has stays as it is.
// Where several have it the id stands behind it, "vol1 (id)", and where that is there
// already a number, "vol1 (id) #2". What has no name goes by its id.
std::vector<std::string> distinct_names(std::vector<named> const& all);

}  // namespace report
