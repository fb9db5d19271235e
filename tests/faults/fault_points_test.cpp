// What STLAB_FAULT can say, and that faults happen where they are asked for.
#include "fault_points.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "lab/disk/file_steps.h"
#include "leaking_recorder.h"

namespace {

namespace points = lab::fault_points;
using points::call;
using points::fault;
using ints = std::vector<int>;

TEST(fault_text, names_a_kind_and_a_point) {
  auto const once = points::parse("EIO@7");
  ASSERT_TRUE(once);
  EXPECT_EQ(fault::kind::error, once->what);
  EXPECT_EQ(EIO, once->error_number);
  EXPECT_EQ(7, once->at);
  EXPECT_EQ(fault::span::once, once->lasting);
  EXPECT_EQ(fault::span::from_there_on, points::parse("ENOSPC@12+")->lasting);
  EXPECT_EQ(ENOSPC, points::parse("ENOSPC@12+")->error_number);
  EXPECT_EQ(fault::kind::kill, points::parse("kill@1")->what);
  EXPECT_EQ(fault::kind::no_space, points::parse("full@1+")->what);
}

TEST(fault_text, is_nothing_else) {
  for (auto const* const text : {"", "kill", "kill@", "kill@0", "kill@-1", "kill@1x", "kill@1++",
                                 "EPERM@1", "@1", "kill@99999999999"}) {
    EXPECT_FALSE(points::parse(text)) << text;
  }
}

ints answers(fault const& what, std::vector<call> const& calls) {
  int counted = 0;
  auto const inject = points::injector(what, counted);
  ints found;
  found.reserve(calls.size());
  for (auto const each : calls) found.push_back(inject({each, "path", {}}));
  EXPECT_EQ(calls.size(), static_cast<std::size_t>(counted));
  return found;
}

TEST(injected_fault, happens_once_or_from_there_on) {
  std::vector<call> const calls{call::link, call::write, call::unlink};
  EXPECT_EQ((ints{0, EIO, 0}), answers(*points::parse("EIO@2"), calls));
  EXPECT_EQ((ints{0, EIO, EIO}), answers(*points::parse("EIO@2+"), calls));
}

TEST(injected_fault, of_a_full_disk_hits_what_takes_space) {
  std::vector<call> const calls{call::create, call::link, call::database_grow, call::unlink};
  EXPECT_EQ((ints{ENOSPC, 0, ENOSPC, 0}), answers(*points::parse("full@1+"), calls));
}

TEST(injected_fault, keeps_a_step_from_being_taken) {
  support::temporary_folder const temporary(support::medium::memory);
  lab::folder const folder(temporary.path());
  {
    points::watch const failing(
        [](points::point const& at) { return at.path.filename() == "file" ? EIO : 0; });
    EXPECT_THROW(lab::steps::make_file(folder, "file", "text"), lab::error);
    lab::steps::make_file(folder, "other", "text");
  }
  EXPECT_EQ(std::vector<std::string>{"other"}, folder.names());
  lab::steps::make_file(folder, "file", "text");
}

TEST(injected_fault, leaves_a_file_that_was_to_be_copied_cut_or_moved) {
  support::temporary_folder const temporary(support::medium::memory);
  lab::folder const folder(temporary.path());
  lab::steps::make_folder(folder, "other");
  auto const other = lab::folder::find(folder, "other");
  ASSERT_TRUE(other);
  lab::steps::make_file(folder, "file", "text");
  std::vector<call> asked;
  points::watch const failing([&](points::point const& at) {
    asked.push_back(at.what);
    bool const fails =
        at.what == call::write || at.what == call::truncate || at.what == call::rename;
    return fails ? EIO : 0;
  });
  EXPECT_THROW(lab::steps::copy_file(folder, *other, "file"), lab::error);
  EXPECT_THROW(lab::steps::cut_file(folder, "file", 1), lab::error);
  EXPECT_THROW(lab::steps::move_file(folder, *other, "file"), lab::error);
  EXPECT_EQ((std::vector<call>{call::create, call::write, call::unlink, call::open_to_write,
                               call::truncate, call::rename}),
            asked);
  EXPECT_EQ(std::vector<std::string>(), other->names());
  EXPECT_EQ(4, folder.status("file")->st_size);
}

}  // namespace
