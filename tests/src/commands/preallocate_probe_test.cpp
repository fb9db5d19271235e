#include "commands/preallocate_probe.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <stdexcept>
#include <vector>

#include "call_lines.h"
#include "child.h"
#include "records.h"

namespace {

using support::lines;
using support::temporary_folder;

// A volume with its preallocate folder below a temporary folder.
class probed_volume {
 public:
  explicit probed_volume(std::string const& name = "share/vol1")
      : path_(base_.path() + "/" + name),
        folder_(base_.make(name + "/FSU_" + support::filled(32, 'v') + "/preallocate")) {}

  std::string const& path() const { return path_; }
  std::string const& folder() const { return folder_; }
  volume_info record() const {
    auto volume = support::volume(path_, 1);
    volume.body.used_size = 900;
    return volume;
  }
  lines calls() const { return {"velt_popen(r, /usr/bin/du, " + folder_ + ")", "velt_pclose()"}; }

 private:
  temporary_folder base_;
  std::string path_;
  std::string folder_;
};

scripted::script du_prints(std::optional<std::string> const& output) {
  scripted::script script;
  script.program = [output](std::vector<std::string> const&) { return output; };
  return script;
}

// Prints "result remain used", the outputs set to 77 and 88 beforehand.
void probe(volume_info const& volume) {
  std::int64_t remain = 77;
  std::int64_t used = 88;
  int const result = st::get_preallocate_remain_size(volume, &remain, &used);
  std::printf("%d %lld %lld\n", result, static_cast<long long>(remain),
              static_cast<long long>(used));
}

support::outcome probe_in_child(scripted::script const& script, volume_info const& volume) {
  return support::in_child(script, [volume] { probe(volume); });
}

std::string megabytes_of(std::string const& du_output) {
  probed_volume const volume;
  auto const result = probe_in_child(du_prints(du_output), volume.record());
  EXPECT_EQ(result.calls, volume.calls());
  EXPECT_EQ(result.status, 0);
  return result.output;
}

TEST(preallocate_probe, runs_du_on_the_folder_and_divides_by_1024) {
  probed_volume const volume;
  auto const result =
      probe_in_child(du_prints("1048576\t" + volume.folder() + "\n"), volume.record());
  EXPECT_EQ(result.output, "0 1024 900\n");
  EXPECT_EQ(result.calls, volume.calls());
  EXPECT_EQ(result.status, 0);
}

TEST(preallocate_probe, truncates_and_never_rounds_up) {
  EXPECT_EQ(megabytes_of("1023\t/x\n"), "0 0 900\n");
  EXPECT_EQ(megabytes_of("1024\t/x\n"), "0 1 900\n");
  EXPECT_EQ(megabytes_of("2047\t/x\n"), "0 1 900\n");
  EXPECT_EQ(megabytes_of("-2047\t/x\n"), "0 -1 900\n");
}

TEST(preallocate_probe, saturates_at_32_bits) {
  EXPECT_EQ(megabytes_of("2147483647\t/x\n"), "0 2097151 900\n");
  EXPECT_EQ(megabytes_of("2147483648\t/x\n"), "0 2097151 900\n");
  EXPECT_EQ(megabytes_of("99999999999999999999999\t/x\n"), "0 2097151 900\n");
}

TEST(preallocate_probe, a_line_without_a_number_is_0) {
  EXPECT_EQ(megabytes_of("/usr/bin/du: cannot read\n"), "0 0 900\n");
  EXPECT_EQ(megabytes_of("\n"), "0 0 900\n");
}

TEST(preallocate_probe, reads_the_first_line_only) {
  EXPECT_EQ(megabytes_of("2048\t/x/sub\n4096\t/x\n"), "0 2 900\n");
  EXPECT_EQ(megabytes_of("2048"), "0 2 900\n");
}

TEST(preallocate_probe, takes_126_characters_of_the_line) {
  EXPECT_EQ(megabytes_of(support::filled(122, ' ') + "2048\n"), "0 2 900\n");
  // The 127th character would make it 20480.
  EXPECT_EQ(megabytes_of(support::filled(122, ' ') + "20480\n"), "0 2 900\n");
}

TEST(preallocate_probe, without_output_the_former_value_stays) {
  EXPECT_EQ(megabytes_of(""), "0 77 900\n");
}

TEST(preallocate_probe, a_missing_folder_fails_and_writes_nothing) {
  temporary_folder const empty;
  auto const result =
      probe_in_child(du_prints("1024\n"), support::volume(empty.path() + "/share/vol1", 1));
  EXPECT_EQ(result.output,
            "Volume [" + empty.path() + "/share/vol1] path does not exist\n" + "-1 77 88\n");
  EXPECT_EQ(result.calls, lines{});
}

TEST(preallocate_probe, a_file_in_place_of_the_folder_fails) {
  temporary_folder const base;
  std::string const path = base.path() + "/share/vol1";
  std::string const storage = base.make("share/vol1/FSU_" + support::filled(32, 'v'));
  ASSERT_EQ(std::fclose(std::fopen((storage + "/preallocate").c_str(), "w")), 0);
  auto const result = probe_in_child(du_prints("1024\n"), support::volume(path, 1));
  EXPECT_EQ(result.output, "Volume [" + path + "] path does not exist\n-1 77 88\n");
}

TEST(preallocate_probe, a_program_that_cannot_be_run_fails_and_writes_nothing) {
  probed_volume const volume;
  auto const result = probe_in_child(du_prints(std::nullopt), volume.record());
  EXPECT_EQ(result.output, "Can not get preallocate remain size info.\n-1 77 88\n");
  EXPECT_EQ(result.calls, lines{"velt_popen(r, /usr/bin/du, " + volume.folder() + ")"});
}

TEST(preallocate_probe, leaves_the_working_directory_in_the_folder) {
  probed_volume const volume;
  auto const record = volume.record();
  auto const result = support::in_child(du_prints("1024\n"), [record] {
    probe(record);
    char where[PATH_MAX];
    std::printf("%s\n", getcwd(where, sizeof where));
  });
  EXPECT_EQ(result.output, "0 1 900\n" + volume.folder() + "\n");
}

TEST(preallocate_probe, the_folder_stays_entered_when_the_program_cannot_be_run) {
  probed_volume const volume;
  auto const record = volume.record();
  auto const result = support::in_child(du_prints(std::nullopt), [record] {
    probe(record);
    char where[PATH_MAX];
    std::printf("%s\n", getcwd(where, sizeof where));
  });
  EXPECT_EQ(result.output,
            "Can not get preallocate remain size info.\n-1 77 88\n" + volume.folder() + "\n");
}

void write_megabytes(std::string const& file, std::size_t count) {
  std::FILE* const stream = std::fopen(file.c_str(), "w");
  ASSERT_NE(stream, nullptr);
  // Nothing that a file system could leave out or press together.
  std::minstd_rand random;
  std::vector<std::minstd_rand::result_type> megabyte(1048576 / sizeof(random()));
  for (std::size_t i = 0; i < count; ++i) {
    std::generate(megabyte.begin(), megabyte.end(), std::ref(random));
    EXPECT_EQ(std::fwrite(megabyte.data(), sizeof(random()), megabyte.size(), stream),
              megabyte.size());
  }
  EXPECT_EQ(std::fflush(stream), 0);
  EXPECT_EQ(fsync(fileno(stream)), 0);
  EXPECT_EQ(std::fclose(stream), 0);
}

std::string output_of_du(std::string const& folder) {
  std::FILE* const pipe = popen(("/usr/bin/du '" + folder + "'").c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("du cannot be run");
  std::string text;
  char buffer[256];
  while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) text += buffer;
  EXPECT_EQ(pclose(pipe), 0);
  return text;
}

TEST(preallocate_probe, of_a_folder_with_a_subfolder_takes_the_subfolder_s_size) {
  probed_volume const volume;
  std::string const below = volume.folder() + "/below";
  ASSERT_TRUE(std::filesystem::create_directory(below));
  write_megabytes(below + "/unit", 2);
  write_megabytes(volume.folder() + "/unit", 4);

  // du ends with the folder itself, the sum of all.
  lines const du = support::lines_of(output_of_du(volume.folder()));
  ASSERT_EQ(du.size(), 2U);
  ASSERT_EQ(du[0].substr(du[0].find('\t') + 1), below);
  long const first = std::strtol(du[0].c_str(), nullptr, 10) / 1024;
  long const whole = std::strtol(du[1].c_str(), nullptr, 10) / 1024;
  ASSERT_GE(first, 2);
  ASSERT_GE(whole, first + 4);

  scripted::script script;
  script.program = [](std::vector<std::string> const& arguments) {
    return output_of_du(arguments.at(0));
  };
  EXPECT_EQ(probe_in_child(script, volume.record()).output,
            "0 " + std::to_string(first) + " 900\n");
}

TEST(preallocate_probe, uses_32_characters_of_an_id_without_terminator) {
  probed_volume const volume;
  auto record = volume.record();
  record.sid.terminator = 0x4141;
  EXPECT_EQ(probe_in_child(du_prints("1024\n"), record).output, "0 1 900\n");
}

// A volume path that makes the folder's path `size` characters long.
std::string name_for(std::string const& base, std::size_t size) {
  std::size_t const rest = size - base.size() - std::string("/share//").size() -
                           std::string("FSU_").size() - 32 - std::string("/preallocate").size();
  return "share/" + support::filled(rest, 'p');
}

TEST(preallocate_probe, a_folder_path_of_255_characters_fits) {
  std::string const base = temporary_folder().path();
  probed_volume const volume(name_for(base, 255));
  ASSERT_EQ(volume.folder().size(), 255U);
  auto const result = probe_in_child(du_prints("1024\n"), volume.record());
  EXPECT_EQ(result.output, "0 1 900\n");
  EXPECT_EQ(result.calls, volume.calls());
}

TEST(preallocate_probe, a_folder_path_of_256_characters_is_refused_and_not_cut) {
  std::string const base = temporary_folder().path();
  probed_volume const volume(name_for(base, 256));
  ASSERT_EQ(volume.folder().size(), 256U);
  // Both folders exist: the one meant, and the one that a cut path would name.
  std::filesystem::create_directory(volume.folder().substr(0, 255));
  auto const result = support::in_child(du_prints("1024\n"), [record = volume.record()] {
    if (chdir("/") != 0) std::exit(3);
    probe(record);
    char where[PATH_MAX];
    std::printf("%s\n", getcwd(where, sizeof where));
  });
  EXPECT_EQ(result.output, "Volume [" + volume.path() + "] path does not exist\n-1 77 88\n/\n");
  EXPECT_EQ(result.calls, lines{});
}

TEST(preallocate_probe, a_path_that_fills_its_field_is_refused_and_shown_whole) {
  std::string const path = "/" + support::filled(1023, 'p');
  auto record = support::volume(path, 1);
  record.body.filler_2908[0] = 'X';
  EXPECT_EQ(probe_in_child(du_prints("1024\n"), record).output,
            "Volume [" + path + "] path does not exist\n-1 77 88\n");
}

TEST(preallocate_probe, du_does_not_see_the_caller_s_block_size) {
  probed_volume const volume;
  scripted::script script;
  script.program = [](std::vector<std::string> const&) -> std::optional<std::string> {
    for (char const* const name : {"DU_BLOCK_SIZE", "BLOCK_SIZE", "BLOCKSIZE", "POSIXLY_CORRECT"}) {
      if (std::getenv(name) != nullptr) return std::string("0\n");
    }
    if (std::getenv("UNRELATED") == nullptr) return std::string("0\n");
    return std::string("1048576\n");
  };
  for (std::string const name : {"DU_BLOCK_SIZE", "BLOCK_SIZE", "BLOCKSIZE", "POSIXLY_CORRECT"}) {
    auto const result = support::in_child(script, [name, record = volume.record()] {
      setenv(name.c_str(), "1", 1);
      setenv("UNRELATED", "1", 1);
      probe(record);
    });
    EXPECT_EQ(result.output, "0 1024 900\n") << name;
  }
}

}  // namespace
