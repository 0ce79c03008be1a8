#include "vimo_util/file/File.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>

#include "vimo_util/frame/NoCancel.h"

namespace vimo {
namespace util {

namespace {

// A directory stream, closed on every way out, a cancelled thread's included.
class DirectoryStream {
 public:
  explicit DirectoryStream(const std::string& path) : stream(::opendir(path.c_str())) {
    if (stream == nullptr) throw FileException("dir open failed");
  }
  ~DirectoryStream() {
    const NoCancel noCancel;
    ::closedir(stream);
  }
  DirectoryStream(const DirectoryStream&) = delete;
  DirectoryStream& operator=(const DirectoryStream&) = delete;

  // The next entry's name, but "." and ".."; null at the end.
  const char* next() {
    while (const struct dirent* entry = ::readdir(stream)) {
      const char* const name = entry->d_name;
      if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0) return name;
    }
    return nullptr;
  }

 private:
  DIR* stream;
};

}  // namespace

File File::getParent() {
  const bool directory = isDirectory();
  const std::string abs = getAbsolutePath();
  const std::string root(1, separator);
  const std::string::size_type last = abs.rfind(separator);
  if (!directory) return File(abs.substr(0, last + 1));
  if (abs == root) throw FileException("no parent");
  return File(last == 0 ? root : abs.substr(0, last));
}

void File::listFiles(std::vector<File>& files) {
  if (!isDirectory()) throw FileException("illegal operation, listFiles");
  DirectoryStream directory(path);
  while (const char* name = directory.next()) files.emplace_back(name);
}

void File::mkdir() {
  if (::mkdir(path.c_str(), 0770) != 0) throw FileException("mkdir failed, " + path);
}

void File::touch() {
  File touched((std::string()));  // closes the descriptor as any object does
  touched.fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_NOCTTY | O_NONBLOCK, 0666);
  if (touched.fd < 0) throw FileException("touch failed, " + path);
}

}  // namespace util
}  // namespace vimo
