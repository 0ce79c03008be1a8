// mirror [-c CONFIG] [-j WORKERS] SOURCE TARGET
//
// Copies a directory tree and, run again, what has changed in SOURCE since. The
// main thread walks SOURCE and makes a request of each file; WORKERS threads take
// them from one queue, the most urgent first. A file appears under its name only
// when it is whole, so that mirror may be interrupted and run again at any time.
//
// CONFIG is a properties file: workers=NUMBER, verify=on or off, rules=FILE, a
// table of file name suffix and priority, 0 being the first. Files that no rule
// fits follow, small ones first.
//
// Exit status: 0, 1 when a file could not be copied, 2 when it could not start.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"
#include "vimo_util/file/File.h"
#include "vimo_util/frame/ClockCounter.h"
#include "vimo_util/frame/ntz.h"
#include "vimo_util/priq/RequestQueue.h"

using vimo::util::File;
using vimo::util::config::CommaSeparatedValues;
using vimo::util::config::CppProperties;
using vimo::util::priq::PriorRequest;
using vimo::util::priq::RequestQueue;

namespace {

constexpr int copyKey = 1;                    // whoever makes a RequestQueue with it is connected
constexpr unsigned int endOfWork = UINT_MAX;  // told to a worker in place of a file's number
constexpr int maxWorkers = 64;                // one bit each in a set of slots
constexpr int lastRule = 999;                 // the largest priority that a rule may give

// In TARGET itself: the record of what has been copied, and the files at work.
const std::string recordName = "/.mirror";
const std::string partialName = "/.mirror.part-";

[[noreturn]] void fail(const std::string& what, const std::string& why) {
  throw std::runtime_error(what + ": " + why);
}

// The number that `text` is, from `least` to `most`; `what` is named if it is none.
int numberIn(const std::string& text, int least, int most, const std::string& what) {
  CppProperties number;
  number.setProperty("", text);
  const std::int64_t value = number.getInt("");
  // getInt() alone would take the 4 of "4x".
  if (text != std::to_string(value) || value < least || value > most) {
    fail(what, "takes a number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  return static_cast<int>(value);
}

struct Settings {
  int workers = static_cast<int>(std::max(1u, std::min(16u, std::thread::hardware_concurrency())));
  bool verify = false;
  std::vector<std::pair<std::string, unsigned int>> rules;

  void load(const std::string& file) {
    CppProperties config;
    try {
      config.load(file);
    } catch (const VIMOException& error) {
      fail(file, error.code == 0x1E0001 ? "cannot be opened" : "cannot be read");
    }
    if (config.exist("workers")) {
      workers = numberIn(config.getProperty("workers"), 1, maxWorkers, file + ": workers");
    }
    verify = config.isOn("verify");
    if (config.exist("verify") && !verify && config.getProperty("verify") != "off") {
      fail(file + ": verify", "is on or off");
    }
    if (config.exist("rules")) loadRules(file, config.getProperty("rules"));
  }

  void loadRules(const std::string& config, const std::string& name) {
    // A relative name is meant from where the configuration lies.
    const std::string file = name[0] == '/' ? name : config.substr(0, config.rfind('/') + 1) + name;
    CommaSeparatedValues table;
    if (!table.load(file)) fail(config + ": rules", file + " cannot be opened");
    for (int i = 0; i < static_cast<int>(table.size()); ++i) {
      if (table.columnCount(i) == 0) continue;  // blank, as is what follows the last newline
      const std::string row = config + ": rules: " + file + ": row " + std::to_string(i + 1);
      if (table.columnCount(i) != 2) fail(row, "takes a suffix and a priority");
      const std::vector<std::string>& cells = table[i]->cells;
      rules.emplace_back(cells[0], numberIn(cells[1], 0, lastRule, row));
    }
  }
};

// What has been done, shown in place while standard error is a terminal: a line
// for each worker's slot and one for all.
class Progress {
 public:
  explicit Progress(int workers) : freeSlots(~std::uint64_t{0} >> (64 - workers)), paths(workers) {}

  // The lowest free slot, from now on `path`'s: no more are at work than there are.
  int begin(const std::string& path) {
    std::lock_guard<std::mutex> lock(mutex);
    const int slot = ntz_hash64(freeSlots);
    freeSlots &= freeSlots - 1;
    paths[slot] = path;
    return slot;
  }
  void end(int slot, std::uintmax_t size, bool copied) {
    std::lock_guard<std::mutex> lock(mutex);
    files += copied;
    bytes += copied ? size : 0;
    freeSlots |= std::uint64_t{1} << slot;
    paths[slot].clear();
    if (!terminal || clock.getCounter() < nextShow) return;
    nextShow = clock.calcCounter(100);
    wipe();
    for (const std::string& path : paths) std::fprintf(stderr, "  %.76s\n", path.c_str());
    std::fprintf(stderr, "%ju of %ju files, %ju bytes\n", files, expected, bytes);
    shownLines = static_cast<int>(paths.size()) + 1;
  }
  void note(const std::string& line, bool failure) {
    std::lock_guard<std::mutex> lock(mutex);
    wipe();
    std::fprintf(stderr, "mirror: %s\n", line.c_str());
    failures += failure;
  }
  // The exit status, once all are done and told of.
  int finish() {
    wipe();
    const double seconds = std::max<std::int64_t>(clock.getCounter() - start, 1) / 1e6;
    std::printf("%ju files, %ju bytes, %.2f s, %.1f MB/s; %ju unchanged\n", files, bytes, seconds,
                bytes / seconds / 1e6, unchanged);
    return std::fflush(stdout) == 0 && failures == 0 ? 0 : 1;
  }

  std::uintmax_t expected = 0;  // these two are the walk's, which ends before the work starts
  std::uintmax_t unchanged = 0;

 private:
  void wipe() {
    if (shownLines > 0) std::fprintf(stderr, "\033[%dA\033[J", shownLines);
    shownLines = 0;
  }

  const bool terminal = isatty(STDERR_FILENO);
  const ClockCounter clock;
  const std::int64_t start = clock.getCounter();
  std::mutex mutex;  // guards all below
  std::uint64_t freeSlots;
  std::vector<std::string> paths;
  std::int64_t nextShow = 0;
  int shownLines = 0;
  std::uintmax_t files = 0, bytes = 0, failures = 0;
};

// A File opens what it copies or compares for writing too; what may only be read
// goes through streams.
void copyContent(const std::string& from, const std::string& to) {
  File source(from), target(to);
  if (source.canWrite()) {
    if (source.copyTo(target) == -1) throw std::runtime_error("it or its copy cannot be opened");
    return;
  }
  std::ifstream in(from, std::ios::binary);
  std::ofstream out(to, std::ios::binary);
  if (!in) throw std::runtime_error("cannot be opened");
  // Not out << in.rdbuf(), which does not tell when the disk is full.
  std::vector<char> block(1 << 16);
  while (in.read(block.data(), block.size()), in.gcount() > 0) out.write(block.data(), in.gcount());
  out.close();
  if (in.bad() || !out) throw std::runtime_error("cannot be copied");
}

bool equalContent(const std::string& from, const std::string& to) {
  File source(from), target(to);  // fresh ones, which start at the start
  if (source.canWrite()) return source.compareTo(target) == 0;
  std::ifstream a(from, std::ios::binary), b(to, std::ios::binary);
  using Bytes = std::istreambuf_iterator<char>;
  return std::equal(Bytes(a), Bytes(), Bytes(b), Bytes());
}

// A file to copy. The queue borrows it; the worker that takes it destroys it.
struct CopyRequest : PriorRequest {
  CopyRequest(unsigned int priority, std::string path, const struct stat& status)
      : PriorRequest(0, priority), path(std::move(path)), status(status) {}
  const std::string path;    // below SOURCE, and so below TARGET
  const struct stat status;  // as the walk met it
};

class Mirror {
 public:
  Mirror(std::string source, std::string target, bool targetIsNew, const Settings& settings)
      : source(std::move(source)),
        target(std::move(target)),
        targetIsNew(targetIsNew),
        settings(settings) {}

  int run() {
    umask(077);  // a copy is for nobody else until it has its mode
    // What a run that was killed has left.
    for (int i = 0; i < maxWorkers; ++i) unlink(partial(i).c_str());
    loadRecord();
    enter("");
    // If this run is killed, the next must not take for unchanged what it has copied: a source may
    // become again what the former record says.
    saveRecord();

    // Behind every file: one end for each worker.
    std::vector<PriorRequest> ends(settings.workers, PriorRequest(0, UINT_MAX));
    for (PriorRequest& end : ends) queue.push(endOfWork, &end);
    std::vector<std::thread> threads;
    try {
      for (int i = 0; i < settings.workers; ++i) threads.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
      if (threads.empty()) throw;  // fewer will do
    }
    for (std::thread& thread : threads) thread.join();

    saveRecord();
    for (auto directory = directories.rbegin(); directory != directories.rend(); ++directory) {
      attempt(directory->first, [&] { setMode(target + directory->first, directory->second); });
    }
    return progress.finish();
  }

 private:
  // Runs `action`; what it throws becomes a line that names what lies at `path`.
  template <class Action>
  bool attempt(const std::string& path, Action action) try {
    action();
    return true;
  } catch (const std::exception& error) {
    progress.note(source + path + ": " + error.what(), true);
    return false;
  }

  // Where a slot builds its file: in TARGET itself.
  std::string partial(int slot) const { return target + partialName + std::to_string(slot); }

  // The setters of a File know the owner and everyone, but no group. A copy has another owner
  // than its source may have, whose rights it must not lend.
  static void setMode(const std::string& path, mode_t mode) {
    if (chmod(path.c_str(), mode & 0777) != 0) fail("its mode", std::strerror(errno));
  }

  // The record: the path of each file, and what its source was like when it was copied.
  static std::string stateOf(const struct stat& status) {
    std::ostringstream state;
    state << status.st_size << ' ' << status.st_mode << ' ' << status.st_mtim.tv_sec << '.'
          << status.st_mtim.tv_nsec;
    return state.str();
  }

  void loadRecord() {
    std::ifstream in(target + recordName, std::ios::binary);
    std::stringstream content;
    if (in) content << in.rdbuf();
    before.load(content);
    // The form has no checksum, but what is whole is saved again as it was.
    std::ostringstream again;
    before.save(again);
    if (again.str() == content.str()) return;
    progress.note(target + recordName + " is damaged, and taken as empty", false);
    before.clear();
  }

  void saveRecord() {
    attempt(recordName, [this] {
      std::ofstream out(partial(0), std::ios::binary);
      after.save(out);
      out.close();
      if (!out) throw std::runtime_error("the record cannot be written");
      File record(target + recordName);
      File(partial(0)).renameTo(record);
    });
  }

  // The walk: makes the directories of TARGET and queues a request for each file.
  void enter(const std::string& path) {
    attempt(path, [&] {
      const bool keepsMode = path.empty() && !targetIsNew;
      struct stat status;
      if (stat(((keepsMode ? target : source) + path).c_str(), &status) != 0) {
        throw std::runtime_error("went away");
      }
      File made(target + path);
      if (!made.exists()) made.mkdir();
      if (!keepsMode || (status.st_mode & 0700) != 0700) {
        directories.emplace_back(path, status.st_mode);
      }
      made.setReadable(true);  // open to its owner while it is filled, a read-only one too
      made.setWritable(true);
      made.setExecutable(true);
      std::vector<File> entries;
      File(source + path).listFiles(entries);
      for (const File& entry : entries) meet(path + "/" + entry.getPath());  // bare names
    });
  }

  void meet(const std::string& path) {
    struct stat status;  // of a link itself, which a File would follow
    if (lstat((source + path).c_str(), &status) != 0) {
      return progress.note(source + path + ": " + std::strerror(errno), true);
    }
    if (S_ISDIR(status.st_mode)) return enter(path);
    if (!S_ISREG(status.st_mode) || path == recordName || path.find(partialName) == 0) {
      return progress.note("left out: " + source + path, false);
    }
    const std::string state = stateOf(status);
    if (before.getProperty(path) == state && File(target + path).exists()) {
      after.setProperty(path, state);
      ++progress.unchanged;
      return;
    }
    std::unique_ptr<CopyRequest> copy(new CopyRequest(priorityOf(path, status), path, status));
    queue.push(static_cast<unsigned int>(progress.expected++), copy.get());
    copy.release();
  }

  unsigned int priorityOf(const std::string& path, const struct stat& status) const {
    for (const auto& rule : settings.rules) {
      const std::size_t size = rule.first.size();
      if (path.size() >= size && path.compare(path.size() - size, size, rule.first) == 0) {
        return rule.second;
      }
    }
    return static_cast<unsigned int>(
        std::min<std::uint64_t>(lastRule + 1 + status.st_size, UINT_MAX - 1));
  }

  // A worker: takes requests until it is told the end.
  void work() {
    RequestQueue requests(copyKey, 0);
    for (;;) {
      unsigned int number;
      PriorRequest* const request = requests.recvWaitAndDequeue(number);
      if (number == endOfWork) return;
      const std::unique_ptr<CopyRequest> copy(static_cast<CopyRequest*>(request));
      const int slot = progress.begin(copy->path);
      const bool copied = attempt(copy->path, [&] { copyFile(*copy, partial(slot)); });
      if (!copied) unlink(partial(slot).c_str());
      progress.end(slot, copy->status.st_size, copied);
    }
  }

  void copyFile(const CopyRequest& copy, const std::string& partial) {
    copyContent(source + copy.path, partial);
    if (settings.verify && !equalContent(source + copy.path, partial)) {
      throw std::runtime_error("its copy differs");
    }
    setMode(partial, copy.status.st_mode);
    File whole(target + copy.path);
    File(partial).renameTo(whole);
    std::lock_guard<std::mutex> lock(afterMutex);
    after.setProperty(copy.path, stateOf(copy.status));
  }

  const std::string source;
  const std::string target;
  const bool targetIsNew;  // else it keeps the mode it has
  const Settings& settings;
  Progress progress{settings.workers};
  RequestQueue queue{copyKey, 0};
  std::vector<std::pair<std::string, mode_t>> directories;
  CppProperties before;  // the record as it was found
  std::mutex afterMutex;
  CppProperties after;  // the record as it will be, guarded by the mutex while threads work
};

// The absolute path of what need not exist yet, in a directory that does.
std::string absolutePath(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  if (File(path).exists()) return File(path).getAbsolutePath();
  const std::size_t name = path.rfind('/') + 1;
  File directory(name == 0 ? "." : path.substr(0, name));
  if (!directory.exists()) fail(directory.getPath(), "there is no such directory");
  return directory.getAbsolutePath() + "/" + path.substr(name);
}

int refuse(const std::string& line) {
  std::fprintf(stderr, "mirror: %s\nusage: mirror [-c CONFIG] [-j WORKERS] SOURCE TARGET\n",
               line.c_str());
  return 2;
}

}  // namespace

int main(int argc, char** argv) try {
  Settings settings;
  const char* workers = nullptr;
  opterr = 0;
  for (int option; (option = getopt(argc, argv, "c:j:")) != -1;) {
    if (option == '?') return refuse(std::string("unknown option or no value: -") + char(optopt));
    if (option == 'c') settings.load(optarg);
    if (option == 'j') workers = optarg;
  }
  if (workers) settings.workers = numberIn(workers, 1, maxWorkers, "-j");
  if (argc - optind != 2 || !*argv[optind] || !*argv[optind + 1]) {
    return refuse("needs a SOURCE and a TARGET");
  }

  const std::string source = absolutePath(argv[optind]);
  const std::string target = absolutePath(argv[optind + 1]);
  const std::string within = source == "/" ? source : source + "/";
  if ((target + "/").compare(0, within.size(), within) == 0) {
    return refuse(target + " is inside " + source);
  }
  const bool targetIsNew = !File(target).exists();
  if (!File(source).exists() || !File(source).isDirectory())
    return refuse(source + " is no directory");
  if (targetIsNew) {
    // With its mode at once, which a later run would not give it, and open to its owner.
    struct stat status;
    umask(0);
    if (stat(source.c_str(), &status) != 0 ||
        mkdir(target.c_str(), (status.st_mode & 0777) | 0700) != 0) {
      fail(target, std::strerror(errno));
    }
  }
  if (!File(target).isDirectory()) return refuse(target + " is no directory");
  return Mirror(source, target, targetIsNew, settings).run();
} catch (const std::exception& error) {
  return refuse(error.what());
}
