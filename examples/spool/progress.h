// SPDX-License-Identifier: MIT
// What the user is shown, and what is kept of it from run to run.

#pragma once

#include <map>

#include "delivery.h"
#include "vimo_util/frame/ClockCounter.h"

// What is not printable ASCII could steer a terminal, and becomes \xHH.
inline std::string printable(const std::string& text) {
  std::string result;
  for (const char byte : text) {
    char escape[8] = {byte};
    if (byte < ' ' || byte > '~') std::snprintf(escape, sizeof escape, "\\x%02x", byte & 0xff);
    result += escape;
  }
  return result;
}

// For the main thread alone.
class Progress {
 public:
  Progress(const Settings& settings, const Directory& out) : settings(settings), out(out) {
    const int opened = out.open(stateName);
    if (opened == -1 && errno == ENOENT) return;
    try {
      const Handle file(opened, out.pathOf(stateName));
      const std::string content = file.read(0, std::min(file.status().st_size, off_t{1} << 24));
      const std::size_t half = content.size() / 2;
      if (half == 0 || content.substr(0, half) != content.substr(half)) fail(file.path, "damaged");
      std::istringstream in(content);
      state.load(in);
      state.setModified(false);
      before = state;
    } catch (const std::exception& error) {
      note(std::string(error.what()) + "; it starts anew");
    }
  }

  void note(const std::string& message) {
    std::fprintf(stderr, "%sspool: %s\n", wipe, printable(message).c_str());
  }

  // On a terminal, in place.
  void show(std::size_t pending) {
    if (*wipe == '\0' || clock.getCounter() < nextShow) return;
    nextShow = clock.calcCounter(100);
    std::fprintf(stderr, "%s%jd files delivered, %zu to go", wipe, now("files"), pending);
  }

  void addDelivered(const Delivery& delivery) {
    const std::string rule = settings.ruleOf(delivery.name);
    // The time of day may have been set back.
    ++waits[rule][std::max(clock.getCounter() - delivery.seen, std::int64_t{0}) / 100];
    for (const std::string& whose : {std::string(), " of *" + rule}) {
      add("files" + whose, 1);
      add("bytes" + whose, delivery.size);
    }
  }

  // True if it is on the disk.
  bool saveState() try {
    if (!state.isModified()) return true;
    std::ostringstream content;
    state.save(content);
    const PartFile part(out, "state");
    part.write(content.str() + content.str());
    part.sync();
    part.rename(stateName, true);
    state.setModified(false);
    return true;
  } catch (const std::exception& error) {
    note(std::string("the totals since ever are not saved: ") + error.what());
    return false;
  }

  // The totals and the table. True if they are written.
  bool print(std::size_t failures) {
    std::fputs(wipe, stderr);
    std::printf("%jd files, %jd bytes in %.2f s; %zu failed; since ever %jd files, %jd bytes\n",
                now("files"), now("bytes"), double(clock.getCounter() - start) / 1e6, failures,
                state.getInt("files"), state.getInt("bytes"));
    std::printf("%-16s %7s %12s %12s %12s %11s %14s\n", "rule", "files", "bytes", "median wait",
                "longest wait", "files ever", "bytes ever");
    for (const auto& [suffix, priority] : settings.rules) {
      const std::string files = "files of *" + suffix, bytes = "bytes of *" + suffix;
      std::printf("%-16s %7jd %12jd %9.1f ms %9.1f ms %11jd %14jd\n",
                  suffix.empty() ? "other" : printable("*" + suffix).c_str(), now(files),
                  now(bytes), wait(suffix, now(files) / 2), wait(suffix, now(files) - 1),
                  state.getInt(files), state.getInt(bytes));
    }
    return std::fflush(stdout) == 0;
  }

 private:
  std::int64_t now(const std::string& key) { return state.getInt(key) - before.getInt(key); }

  void add(const std::string& key, std::int64_t number) {
    state.setProperty(key, std::to_string(state.getInt(key) + number));
  }

  // In milliseconds, of the file that has so many before it in the order of waits.
  double wait(const std::string& rule, std::int64_t rank) {
    auto i = waits[rule].begin();
    while (i != waits[rule].end() && rank >= i->second) rank -= (i++)->second;
    return i == waits[rule].end() ? 0 : double(i->first) / 10;
  }

  static constexpr const char* stateName = ".spool.state";

  const Settings& settings;
  const Directory& out;
  const ClockCounter clock;
  const std::int64_t start = clock.getCounter();
  const char* const wipe = isatty(STDERR_FILENO) ? "\r\033[K" : "";  // the line of show()
  std::int64_t nextShow = 0;
  // By rule: how many files have waited for so many tenths of a millisecond.
  std::map<std::string, std::map<std::int64_t, std::int64_t>> waits;
  // Files and bytes delivered since ever, and before this run. The state is saved twice in its
  // file, by which damage shows.
  CppProperties state, before;
};
