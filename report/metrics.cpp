#include "report/metrics.h"

#include <map>
#include <optional>

#include "report/days.h"
#include "report/metric_text.h"
#include "report/wording.h"

namespace report {

namespace {

using figure = std::optional<std::string>;

// A metric with a sample for each of many, unless it has no value there.
template <typename Item>
struct gauge {
  char const* name;
  char const* help;
  figure (*value)(Item const&);
};

template <typename Item, std::size_t Count>
void add(std::string& page, gauge<Item> const (&gauges)[Count], char const* label,
         std::vector<Item> const& items, std::vector<std::string> const& names) {
  for (gauge<Item> const& each : gauges) {
    metric samples(page, each.name, each.help);
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (figure const value = each.value(items[i])) samples.add({{label, names[i]}}, *value);
    }
  }
}

void add_one(std::string& page, char const* name, char const* help, std::string const& value) {
  metric(page, name, help).add({}, value);
}

figure bytes(std::int64_t mb) { return bytes_of_mb(static_cast<double>(mb)); }
figure bytes(std::optional<std::int64_t> const& mb) { return mb ? bytes(*mb) : std::nullopt; }

constexpr gauge<space> space_gauges[] = {
    {"st_report_space_size_bytes", "Total size of a space.",
     [](space const& of) { return bytes(of.total_mb); }},
    {"st_report_space_used_bytes", "What recordings take of a space.",
     [](space const& of) { return bytes(of.used_mb); }},
    {"st_report_space_status", "Number of a space's status: 0 normal, 5 error.",
     [](space const& of) { return figure(std::to_string(of.status)); }},
};

constexpr gauge<volume> volume_gauges[] = {
    {"st_report_volume_size_bytes", "Total size of a volume.",
     [](volume const& of) { return bytes(of.total_mb); }},
    {"st_report_volume_used_bytes", "What recordings take of a volume.",
     [](volume const& of) { return bytes(of.used_mb); }},
    {"st_report_volume_preallocated_bytes", "What is ready to be recorded into, as measured.",
     [](volume const& of) { return bytes(of.preallocated_mb); }},
    {"st_report_volume_lost_bytes", "What is neither used nor preallocated.",
     [](volume const& of) { return bytes(of.lost_mb); }},
    {"st_report_volume_leak", "1 where a volume has lost so much that it is to be cleaned.",
     [](volume const& of) { return figure(flag(of.leak)); }},
    {"st_report_volume_mounted", "0 where the folder of a volume cannot be entered.",
     [](volume const& of) { return figure(flag(of.measured != measuring::not_mounted)); }},
    {"st_report_volume_measured", "1 where the preallocated space could be measured.",
     [](volume const& of) { return figure(flag(of.measured == measuring::done)); }},
    {"st_report_volume_state", "Number of a volume's state: 0 active, 1 standby.",
     [](volume const& of) { return figure(std::to_string(of.state)); }},
};

// What the samples of a channel are taken from.
struct channel_summary {
  kept keeps;
  std::size_t periods = 0;
  std::size_t without_id = 0;
  std::size_t not_asked = 0;  // streams
  double normal_mb = 0;
  double alarm_mb = 0;
  double all_mb = 0;
};

channel_summary summary_of(channel const& of) {
  channel_summary result;
  result.without_id = periods_without_id(of);
  result.keeps = kept_by_channel(of);
  for (stream const& each : of.streams) {
    if (!each.asked) ++result.not_asked;
    result.periods += each.periods.size();
  }
  for (recorded_size const& each : of.sizes) {
    result.normal_mb += static_cast<double>(each.normal_mb);
    result.alarm_mb += static_cast<double>(each.alarm_mb);
    result.all_mb += static_cast<double>(each.all_mb);
  }
  return result;
}

figure moment(channel_summary const& of, std::int64_t ms) {
  return of.keeps.days > 0 ? figure(seconds_of_ms(ms)) : std::nullopt;
}

figure days(int count) { return std::to_string(std::int64_t{count} * 24 * 60 * 60); }

constexpr gauge<channel_summary> channel_gauges[] = {
    {"st_report_channel_oldest_recording_timestamp_seconds", "Start of the oldest recording.",
     [](channel_summary const& of) { return moment(of, of.keeps.oldest_ms); }},
    {"st_report_channel_latest_recording_timestamp_seconds", "End of the latest recording.",
     [](channel_summary const& of) { return moment(of, of.keeps.latest_ms); }},
    {"st_report_channel_kept_seconds",
     "Days from the oldest to the latest recording, both counted, of 86400 seconds each.",
     [](channel_summary const& of) { return days(of.keeps.days); }},
    {"st_report_channel_gaps", "How many of these days lack an hour of which nothing is recorded.",
     [](channel_summary const& of) { return figure(std::to_string(of.keeps.days_with_gaps)); }},
    {"st_report_channel_periods", "Stretches of time from which there are recordings.",
     [](channel_summary const& of) { return figure(std::to_string(of.periods)); }},
    {"st_report_channel_periods_without_id", "Those that are kept under no storage id.",
     [](channel_summary const& of) { return figure(std::to_string(of.without_id)); }},
    {"st_report_channel_streams_not_asked", "Streams whose recordings could not be listed.",
     [](channel_summary const& of) { return figure(std::to_string(of.not_asked)); }},
    {"st_report_channel_normal_recorded_bytes", "Size of the normal recordings, on all spaces.",
     [](channel_summary const& of) { return figure(bytes_of_mb(of.normal_mb)); }},
    {"st_report_channel_alarm_recorded_bytes", "Size of the alarm recordings, on all spaces.",
     [](channel_summary const& of) { return figure(bytes_of_mb(of.alarm_mb)); }},
    {"st_report_channel_recorded_bytes", "Size of all recordings, on all spaces.",
     [](channel_summary const& of) { return figure(bytes_of_mb(of.all_mb)); }},
};

template <typename Item, typename Name>
std::vector<std::string> labels_of(std::vector<Item> const& items, Name name_of) {
  std::vector<named> names;
  names.reserve(items.size());
  for (Item const& each : items) names.push_back({name_of(each), each.id});
  return distinct_names(names);
}

void add_run(std::string& page, value const& of) {
  metric(page, "st_report_info", "Version of the program.")
      .add({{"version", of.program_version}}, "1");
  add_one(page, "st_report_completion_timestamp_seconds", "When all had been asked.",
          seconds_of_ms(of.made_ms));
  add_one(page, "st_report_exit_status", "Exit status of the run.", std::to_string(of.exit_status));
  add_one(page, "st_report_service_reachable",
          "0 where the service or a part of it could not be asked.", flag(of.not_asked.empty()));
  add_one(page, "st_report_not_asked", "Questions that the service could not be asked.",
          std::to_string(of.not_asked.size()));
  add_one(page, "st_report_unreasonable_answers", "Answers that make no sense.",
          std::to_string(of.problems.size()));
}

// Every code, also those of which there is nothing: an alert needs the 0.
void add_attention(std::string& page, std::vector<attention> const& needs) {
  std::map<std::string, std::size_t> count;
  for (int code = 0; code <= static_cast<int>(concern::unreasonable_answer); ++code) {
    count[code_of(static_cast<concern>(code))] = 0;
  }
  for (attention const& each : needs) ++count[code_of(each.what)];
  metric samples(page, "st_report_attention", "What needs attention, by its code.");
  for (auto const& [code, items] : count) samples.add({{"code", code}}, std::to_string(items));
}

std::vector<std::string> add_spaces(std::string& page, std::vector<space> const& spaces) {
  auto labels = labels_of(spaces, [](space const& each) { return each.name; });
  metric info(page, "st_report_space_info", "Texts of a space.");
  for (std::size_t i = 0; i < spaces.size(); ++i) {
    info.add({{"space", labels[i]}, {"uuid", spaces[i].uuid}, {"status", spaces[i].status_name}},
             "1");
  }
  add(page, space_gauges, "space", spaces, labels);
  return labels;
}

void add_volumes(std::string& page, value const& of, std::vector<std::string> const& space_labels) {
  std::map<std::string, std::string> space_by_uuid;
  for (std::size_t i = 0; i < of.spaces.size(); ++i) {
    space_by_uuid.try_emplace(of.spaces[i].uuid, space_labels[i]);
  }
  auto const labels = labels_of(of.volumes, [](volume const& each) { return each.name; });
  metric info(page, "st_report_volume_info", "Texts of a volume.");
  for (std::size_t i = 0; i < of.volumes.size(); ++i) {
    volume const& each = of.volumes[i];
    auto const known = space_by_uuid.find(each.space_uuid);
    info.add({{"volume", labels[i]},
              {"id", each.id},
              {"space", known == space_by_uuid.end() ? each.space_uuid : known->second},
              {"type", each.type == 0 ? "normal" : "spare"},
              {"state", each.state_name}},
             "1");
  }
  add(page, volume_gauges, "volume", of.volumes, labels);
}

std::string joined(std::vector<std::string> const& texts) {
  std::string all;
  for (std::string const& each : texts) all += (all.empty() ? "" : ",") + each;
  return all;
}

void add_channels(std::string& page, std::vector<channel> const& channels) {
  auto const labels =
      labels_of(channels, [](channel const& each) { return std::to_string(each.number); });
  metric info(page, "st_report_channel_info", "Texts of a channel.");
  std::vector<channel_summary> summaries;
  summaries.reserve(channels.size());
  for (std::size_t i = 0; i < channels.size(); ++i) {
    info.add(
        {{"channel", labels[i]}, {"id", channels[i].id}, {"volumes", joined(channels[i].volumes)}},
        "1");
    summaries.push_back(summary_of(channels[i]));
  }
  add(page, channel_gauges, "channel", summaries, labels);
}

}  // namespace

std::string metrics_of(value const& of) {
  std::string page;
  add_run(page, of);
  add_attention(page, of.needs);
  add_volumes(page, of, add_spaces(page, of.spaces));
  add_channels(page, of.channels);
  return page;
}

}  // namespace report
