#ifndef VIMO_UTIL_CONFIG_INPUTFILE_H
#define VIMO_UTIL_CONFIG_INPUTFILE_H

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <istream>
#include <memory>
#include <streambuf>
#include <string>

#include "vimo_util/frame/NoCancel.h"

namespace vimo {
namespace util {
namespace config {

// A file opened for reading, as std::ifstream has it: a stream that has failed if
// it could not be opened. std::ifstream itself opens with fopen(), which loses
// memory when the thread is cancelled in it, as it waits for the writer of a FIFO.
class InputFile : private std::streambuf {
 public:
  explicit InputFile(const std::string& path)
      : bytes(new char[size]), descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)), in(this) {
    if (descriptor == -1) in.setstate(std::ios::failbit);
  }
  ~InputFile() {
    const NoCancel noCancel;
    if (descriptor != -1) ::close(descriptor);
  }

  std::istream& stream() { return in; }

 private:
  int_type underflow() override {
    ssize_t count;
    do {
      count = ::read(descriptor, bytes.get(), size);
    } while (count == -1 && errno == EINTR);
    if (count == -1) throw std::ios::failure("read error");
    setg(bytes.get(), bytes.get(), bytes.get() + count);
    return count == 0 ? traits_type::eof() : traits_type::to_int_type(bytes[0]);
  }

  static constexpr std::size_t size = 8192;
  const std::unique_ptr<char[]> bytes;  // not on the stack, which may be small
  const int descriptor;
  std::istream in;
};

}  // namespace config
}  // namespace util
}  // namespace vimo

#endif
