#include "commands/preallocate_probe.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <stdexcept>
#include <vector>

#include "command_test.h"

namespace command_test {
namespace {

std::string const path_missing = "path does not exist\n-1 77 88\n";

// A volume with its preallocate folder below a temporary folder.
class probed_volume {
 public:
  explicit probed_volume(std::string const& name = "share/vol1")
      : path_(base_.path().string() + "/" + name),
        folder_(base_.make(name + "/FSU_" + filled(32, 'v') + "/preallocate")) {}

  std::string const& path() const { return path_; }
  std::string const& folder() const { return folder_; }
  volume_info record() const {
    volume_info record = volume(path_, 1);
    record.body.used_size = 900;
    return record;
  }
  lines calls() const { return {"velt_popen(r, /usr/bin/du, " + folder_ + ")", "velt_pclose()"}; }

 private:
  temporary_folder base_;
  std::string path_;
  std::string folder_;
};

answers du_prints(std::optional<std::string> const& output) {
  return answers().with_program_output(output);
}

// Prints "result remain used", the outputs set to 77 and 88 beforehand.
std::function<void()> probe(volume_info const& volume) {
  return [volume] {
    std::int64_t remain = 77;
    std::int64_t used = 88;
    int const result = st::get_preallocate_remain_size(volume, &remain, &used);
    std::printf("%d %lld %lld\n", result, static_cast<long long>(remain),
                static_cast<long long>(used));
  };
}

// Prints the working directory behind it, which was / before.
std::function<void()> probe_and_tell_where(volume_info const& volume) {
  return [volume] {
    if (chdir("/") != 0) std::exit(3);
    probe(volume)();
    char where[PATH_MAX];
    std::printf("%s\n", getcwd(where, sizeof where));
  };
}

// What du prints, and the MB that are read from it.
struct reading {
  char const* behaviour;
  std::string printed;
  int megabytes;
};

TEST(preallocate_probe, reads_the_first_number_that_du_prints_in_kilobytes) {
  probed_volume const volume;
  for (reading const& each : std::vector<reading>{
           {"divides by 1024", "1048576\t" + volume.folder() + "\n", 1024},
           {"truncates", "1023\t/x\n", 0},
           {"takes a whole one", "1024\t/x\n", 1},
           {"never rounds up", "2047\t/x\n", 1},
           {"truncates toward zero", "-2047\t/x\n", -1},
           {"takes the greatest of 32 bits", "2147483647\t/x\n", 2097151},
           {"saturates at 32 bits", "2147483648\t/x\n", 2097151},
           {"saturates at 64 bits", "99999999999999999999999\t/x\n", 2097151},
           {"takes a line without a number for 0", "/usr/bin/du: cannot read\n", 0},
           {"takes an empty line for 0", "\n", 0},
           {"reads the first line only", "2048\t/x/sub\n4096\t/x\n", 2},
           {"needs no end of the line", "2048", 2},
           {"takes 126 characters of the line", filled(122, ' ') + "2048\n", 2},
           {"the 127th would make it 20480", filled(122, ' ') + "20480\n", 2},
           {"keeps the former value without output", "", 77}}) {
    SCOPED_TRACE(each.behaviour);
    expect_run(du_prints(each.printed), probe(volume.record()),
               "0 " + std::to_string(each.megabytes) + " 900\n", volume.calls());
  }
}

TEST(preallocate_probe, a_missing_folder_fails_and_writes_nothing) {
  temporary_folder const empty;
  std::string const path = empty.path().string() + "/share/vol1";
  expect_run(du_prints("1024\n"), probe(volume(path, 1)), "Volume [" + path + "] " + path_missing,
             {});
}

TEST(preallocate_probe, a_file_in_place_of_the_folder_fails) {
  temporary_folder const base;
  std::string const path = base.path().string() + "/share/vol1";
  std::string const storage = base.make("share/vol1/FSU_" + filled(32, 'v'));
  ASSERT_EQ(std::fclose(std::fopen((storage + "/preallocate").c_str(), "w")), 0);
  expect_run(du_prints("1024\n"), probe(volume(path, 1)), "Volume [" + path + "] " + path_missing,
             {});
}

TEST(preallocate_probe, leaves_the_working_directory_in_the_folder) {
  probed_volume const volume;
  expect_run(du_prints("1024\n"), probe_and_tell_where(volume.record()),
             "0 1 900\n" + volume.folder() + "\n", volume.calls());
}

TEST(preallocate_probe, a_program_that_cannot_be_run_fails_and_the_folder_stays_entered) {
  probed_volume const volume;
  expect_run(du_prints(std::nullopt), probe_and_tell_where(volume.record()),
             "Can not get preallocate remain size info.\n-1 77 88\n" + volume.folder() + "\n",
             {volume.calls().front()});
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
  expect_run(script, probe(volume.record()), "0 " + std::to_string(first) + " 900\n",
             volume.calls());
}

TEST(preallocate_probe, uses_32_characters_of_an_id_without_terminator) {
  probed_volume const volume;
  auto record = volume.record();
  record.sid.terminator = 0x4141;
  expect_run(du_prints("1024\n"), probe(record), "0 1 900\n", volume.calls());
}

// A volume path that makes the folder's path `size` characters long.
std::string name_for(std::size_t size) {
  std::size_t const rest = size - temporary_folder().path().string().size() -
                           std::string("/share//FSU_/preallocate").size() - 32;
  return "share/" + filled(rest, 'p');
}

TEST(preallocate_probe, a_folder_path_of_255_characters_fits) {
  probed_volume const volume(name_for(255));
  ASSERT_EQ(volume.folder().size(), 255U);
  expect_run(du_prints("1024\n"), probe(volume.record()), "0 1 900\n", volume.calls());
}

TEST(preallocate_probe, a_folder_path_of_256_characters_is_refused_and_not_cut) {
  probed_volume const volume(name_for(256));
  ASSERT_EQ(volume.folder().size(), 256U);
  // Both folders exist: the one meant, and the one that a cut path would name.
  std::filesystem::create_directory(volume.folder().substr(0, 255));
  expect_run(du_prints("1024\n"), probe_and_tell_where(volume.record()),
             "Volume [" + volume.path() + "] " + path_missing + "/\n", {});
}

TEST(preallocate_probe, a_path_that_fills_its_field_is_refused_and_shown_whole) {
  std::string const path = "/" + filled(1023, 'p');
  auto record = volume(path, 1);
  record.body.filler_2908[0] = 'X';
  expect_run(du_prints("1024\n"), probe(record), "Volume [" + path + "] " + path_missing, {});
}

TEST(preallocate_probe, du_does_not_see_the_caller_s_block_size) {
  probed_volume const volume;
  static constexpr char const* settings[] = {"DU_BLOCK_SIZE", "BLOCK_SIZE", "BLOCKSIZE",
                                             "POSIXLY_CORRECT"};
  scripted::script script;
  script.program = [](std::vector<std::string> const&) {
    bool const seen = std::any_of(std::begin(settings), std::end(settings),
                                  [](char const* name) { return std::getenv(name) != nullptr; });
    bool const others_kept = std::getenv("UNRELATED") != nullptr;
    return std::string(!seen && others_kept ? "1048576\n" : "0\n");
  };
  for (char const* const name : settings) {
    SCOPED_TRACE(name);
    auto const body = [name, record = volume.record()] {
      setenv(name, "1", 1);
      setenv("UNRELATED", "1", 1);
      probe(record)();
    };
    expect_run(script, body, "0 1024 900\n", volume.calls());
  }
}

}  // namespace
}  // namespace command_test
