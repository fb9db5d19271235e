// Every recipe of the corpus: check finds the damage, st prints what is recorded
// on it, repair does its work, and a second check finds nothing. All that is
// printed is told below the recipe, but for what has been told before.
#include <algorithm>

#include "golden.h"
#include "lab/damage/damage.h"
#include "program_test.h"
#include "recipe.h"

namespace corpus {

void PrintTo(recipe const& which, std::ostream* out) { *out << which.name(); }

namespace {

namespace fs = std::filesystem;

using support::outcome;

std::set<std::string> classes_in(std::string const& check) {
  std::set<std::string> found;
  for (std::string const& line : support::lines_of(check)) {
    if (line != "clean") found.insert(line.substr(0, line.find(": ")));
  }
  return found;
}

class corpus_test : public support::program_test {
 protected:
  corpus_test() { hold_clock("2026-11-21 07:30:00"); }

  void make_anew(words const& options) const {
    fs::remove_all(recorder);
    stlab("make", options);
  }

  // What lies where; which periods hold it is left to check.
  std::string shown() const { return wherever_it_lies(stlab("show")); }

  std::string wherever_it_lies(std::string text) const {
    for (std::size_t at = 0; (at = text.find(folder.string(), at)) != std::string::npos;) {
      text.replace(at, folder.string().size(), "/lab");
    }
    return text;
  }
};

class corpus_recipe : public corpus_test, public testing::WithParamInterface<recipe> {
 protected:
  outcome on_recorder(std::string const& command, words const& options) const {
    return run_here(words{STLAB_PROGRAM, command, "recorder"} + options);
  }

  // What the catalogue's journal was used for is never twice the same, only that
  // it is there with its size.
  support::picture but_for_what_is_journaled(support::picture found) const {
    fs::path const journal = recorder / "catalogue.db-journal";
    found.at(journal.filename()) = std::to_string(fs::file_size(journal));
    return found;
  }

  void make_and_damage() {
    make_anew(GetParam().make);
    damage_.clear();
    made_ = shown();
    EXPECT_EQ(stlab("check"), "clean\n");
    for (words const& each : GetParam().damages) damage_.push_back(stlab("damage", each));
  }

  // What the first check has found is not told again.
  void tell(std::string const& command, outcome const& result) {
    std::string text = result.output + result.errors;
    if (result.status != 0) text += "[" + std::to_string(result.status) + "]\n";
    if (!findings.empty() && support::begins_with(text, findings)) {
      text.replace(0, findings.size(), "(the findings)\n");
    }
    told.tell(command, wherever_it_lies(text));
  }

  outcome tell_stlab(std::string const& command, words const& options = {}) {
    outcome result = on_recorder(command, options);
    tell(text_of(words{"stlab", command, "recorder"} + options), result);
    return result;
  }

  void tell_damage() {
    for (std::size_t each = 0; each < damage_.size(); ++each) {
      tell(text_of(words{"stlab damage recorder"} + GetParam().damages[each]),
           {0, damage_[each], ""});
    }
  }

  void tell_units() {
    std::string const now = shown();
    told.tell("stlab show recorder", now == made_ ? "(as it was made: see made.txt)\n" : now);
  }

  void tell_st() {
    for (words const& each : GetParam().commands) {
      tell(text_of(words{"st"} + each), run_here(words{ST_PROGRAM} + each));
    }
  }

  // What repair has set aside; paths below share.
  void tell_lost_and_found() {
    std::vector<std::string> found;
    for (auto const& entry : fs::recursive_directory_iterator(recorder / "share")) {
      std::string const name = entry.path().lexically_relative(recorder / "share");
      if (!entry.is_directory() && name.find("/lost+found/") != std::string::npos) {
        found.push_back(name);
      }
    }
    std::sort(found.begin(), found.end());
    for (std::string const& name : found) told.add("set aside: " + name);
  }

  support::session told;
  std::string findings;  // of the first check

 private:
  std::vector<std::string> damage_;
  std::string made_;  // what is shown of the recorder without damage
};

TEST_P(corpus_recipe, is_found_told_and_repaired) {
  ASSERT_FALSE(GetParam().damages.empty());
  ASSERT_FALSE(GetParam().classes.empty());

  make_and_damage();
  tell_damage();
  support::picture const damaged = picture_now();
  support::picture const damage = but_for_what_is_journaled(damaged);
  outcome const first = tell_stlab("check");
  ASSERT_EQ(first.status, 1);
  ASSERT_EQ(classes_in(first.output), GetParam().classes);
  findings = first.output;
  ASSERT_EQ(picture_now(), damaged) << "check changes nothing";
  tell_st();

  // Anew, as st may have recycled what was damaged.
  make_and_damage();
  ASSERT_EQ(but_for_what_is_journaled(picture_now()), damage) << "damage is the same every time";
  // A run that sets something aside gives nothing up.
  if (!GetParam().repair.empty()) tell_stlab("check", {"--repair"});
  bool const lasts = !GetParam().lasting().empty();
  EXPECT_EQ(tell_stlab("check", words{"--repair"} + GetParam().repair).status, lasts ? 1 : 0);
  outcome const second = tell_stlab("check");
  EXPECT_EQ(second.status, lasts ? 1 : 0);
  EXPECT_EQ(classes_in(second.output), GetParam().lasting());
  tell_lost_and_found();
  tell_units();
  tell_st();
  support::expect_golden(GetParam().file, GetParam().head + told.text());
}

INSTANTIATE_TEST_SUITE_P(recipes, corpus_recipe, testing::ValuesIn(read_corpus(CORPUS_FOLDER)),
                         [](auto const& which) { return support::as_name(which.param.name()); });

TEST_F(corpus_test, recorders_are_made_as_ever) {
  std::set<words> all;
  for (recipe const& each : read_corpus(CORPUS_FOLDER)) all.insert(each.make);
  support::session told;
  for (words const& make : all) {
    make_anew(make);
    told.tell(text_of(words{"stlab make recorder"} + make), shown());
  }
  support::expect_golden(CORPUS_FOLDER "/made.txt", told.text());
}

TEST(corpus_as_a_whole, has_every_kind_of_damage) {
  std::set<std::string> used;
  for (recipe const& each : read_corpus(CORPUS_FOLDER)) {
    for (words const& damage : each.damages) used.insert(damage.at(0));
  }
  std::set<std::string> kinds;
  for (lab::damage_kind const& each : lab::damage_kinds()) kinds.insert(each.name);
  EXPECT_EQ(used, kinds);
}

}  // namespace
}  // namespace corpus
