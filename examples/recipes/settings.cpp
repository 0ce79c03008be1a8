// SPDX-License-Identifier: MIT
// Settings: the defaults, then the file, then the command line; saved whole or not at all.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "vimo_util/config/CppProperties.h"

using vimo::util::config::CppProperties;

constexpr char name[] = "settings.conf", part[] = ".settings.conf.new";

int check(long result, const std::string& what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return static_cast<int>(result);
}

struct Descriptor {
  ~Descriptor() { close(number); }
  const int number;
};

// Sets in `settings` what `more` holds, and names the keys that `settings` did not know.
void add(CppProperties& settings, CppProperties& more) {
  std::vector<std::string> keys;
  more.getKeys(keys);
  for (const std::string& key : keys) {
    if (!settings.exist(key)) std::printf("%s: unknown key\n", key.c_str());
    if (more.exist(key)) settings.setProperty(key, more.getProperty(key));
  }
}

// Writes a file of its own, and then puts it in the place of the old one.
void save(std::string text, mode_t mode) {
  unlink(part);  // of a run that was killed
  const Descriptor file{check(open(part, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600), part)};
  check(fchmod(file.number, mode), part);
  while (!text.empty()) text.erase(0, check(write(file.number, text.data(), text.size()), part));
  check(fsync(file.number), part);
  check(rename(part, name), name);
}

int main(int argc, char* argv[]) try {
  const Descriptor folder{check(open(".", O_RDONLY | O_CLOEXEC), ".")};
  check(flock(folder.number, LOCK_EX), ".");  // one process at a time loads and saves
  std::stringstream defaults("port=80\nretries=3\ntrace=off\n"), arguments, text;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]).find('=') == std::string::npos)
      throw std::system_error(EINVAL, std::generic_category(), argv[i]);
    arguments << argv[i] << '\n';
  }
  CppProperties settings, file, given;
  settings.read(defaults);
  struct stat old = {};  // of mode 0 if there is no file yet
  if (stat(name, &old) == 0) file.load(name);
  given.read(arguments);
  for (CppProperties* more : {&file, &given}) add(settings, *more);  // the later counts

  settings.write(text);
  save(text.str(), old.st_mode != 0 ? old.st_mode & 0777 : 0600);
  check(fsync(folder.number), ".");  // the new name is on the disk
  std::fputs(text.str().c_str(), stdout);
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s: %s\n", name, error.what());
  return 1;
}
