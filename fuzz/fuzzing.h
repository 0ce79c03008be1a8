#ifndef VIMO_UTIL_FUZZ_FUZZING_H
#define VIMO_UTIL_FUZZ_FUZZING_H

#include <cstdint>
#include <cstdlib>
#include <istream>
#include <string>

// Ends the process, which the fuzzer takes for a finding; the stack names the line.
inline void require(bool kept) {
  if (!kept) std::abort();
}

// The bytes under test as a stream. Its buffer holds only 1 to 16 of them at a time, as the first
// byte says, so that all reading runs over its ends.
class Input : private std::streambuf, public std::istream {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : std::istream(this),
        choices(size > 0 ? data[0] : 0),
        bytes(reinterpret_cast<const char*>(data) + (size > 0), size - (size > 0)) {}

  bool atEnd() const { return rdstate() == (std::ios::eofbit | std::ios::failbit); }

  const unsigned int choices;
  const std::string bytes;

 private:
  int_type underflow() override {
    chunk = bytes.substr(next, choices / 16 + 1);
    next += chunk.size();
    setg(&chunk[0], &chunk[0], &chunk[0] + chunk.size());
    return chunk.empty() ? traits_type::eof() : traits_type::to_int_type(chunk[0]);
  }

  std::size_t next = 0;
  std::string chunk;
};

#endif
