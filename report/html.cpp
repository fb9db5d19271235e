#include "report/html.h"

#include "report/attention.h"
#include "report/calendar.h"
#include "report/html_parts.h"
#include "report/wording.h"

namespace report {

namespace {

std::string status_words(int status) {
  switch (status) {
    case nothing_to_attend:
      return "Nothing needs attention.";
    case something_to_attend:
      return "Something needs attention.";
    case not_asked:
      return "The service, or a part of it, could not be asked.";
    default:
      return "Status " + std::to_string(status) + ".";
  }
}

markup head(std::string const& title) {
  return element("head", markup{"<meta charset=\"utf-8\"/>\n"
                                "<meta name=\"viewport\" "
                                "content=\"width=device-width, initial-scale=1\"/>\n"
                                "<meta name=\"color-scheme\" content=\"light dark\"/>\n"} +
                             element("title", escaped(title)) + page_style());
}

markup header(value const& of, std::string const& title) {
  std::string const version =
      of.program_version.empty() ? "" : " Made by st-report " + of.program_version + ".";
  return element("header",
                 element("h1", escaped(title)) + paragraph(status_words(of.exit_status) + version));
}

markup content(value const& of, value const* before) {
  markup all = attention_section(of);
  if (before != nullptr) {
    all += comparison_sections(*before, of);
  } else {
    all += spaces_section(of) + volumes_section(of);
  }
  std::vector<kept> const all_kept = kept_by_each(of.channels);
  return all + preview_section(of) + channels_section(of, all_kept) +
         calendar_section(of, all_kept);
}

}  // namespace

std::string html_of(value const& of, value const* before) {
  std::string const title = "Recorder at " + local_moment(of.made_ms);
  markup const body = page_patterns() + header(of, title) + element("main", content(of, before));
  return "<!DOCTYPE html>\n" +
         element("html", attribute("lang", "en"), head(title) + element("body", body)).text + "\n";
}

}  // namespace report
