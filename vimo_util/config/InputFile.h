#ifndef VIMO_UTIL_CONFIG_INPUTFILE_H
#define VIMO_UTIL_CONFIG_INPUTFILE_H

#include <fcntl.h>
#include <unistd.h>

#include <ext/stdio_filebuf.h>
#include <istream>
#include <string>

namespace vimo {
namespace util {
namespace config {

// A file opened for reading, as std::ifstream has it: a stream that has failed if
// it could not be opened. std::ifstream itself opens with fopen(), which loses
// memory when the thread is cancelled in it, as it waits for the writer of a FIFO.
class InputFile {
 public:
  explicit InputFile(const std::string& path)
      : InputFile(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}

  std::istream& stream() { return in; }

 private:
  explicit InputFile(int descriptor) : buffer(descriptor, std::ios::in), in(&buffer) {
    if (buffer.is_open()) return;
    if (descriptor != -1) ::close(descriptor);
    in.setstate(std::ios::failbit);
  }

  __gnu_cxx::stdio_filebuf<char> buffer;  // closes the descriptor once it is open
  std::istream in;
};

}  // namespace config
}  // namespace util
}  // namespace vimo

#endif
