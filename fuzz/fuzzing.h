#ifndef VIMO_UTIL_FUZZ_FUZZING_H
#define VIMO_UTIL_FUZZ_FUZZING_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <istream>
#include <string>

// Ends the process, which the fuzzer takes for a finding, unless `kept`.
inline void require(bool kept, const char* rule) {
  if (kept) return;
  std::fprintf(stderr, "not kept: %s\n", rule);
  std::abort();
}

// The bytes under test. The first one says how they are to be read.
struct Input {
  Input(const std::uint8_t* data, std::size_t size)
      : choices(size > 0 ? data[0] : 0),
        bytes(reinterpret_cast<const char*>(data) + (size > 0), size - (size > 0)) {}
  const unsigned int choices;
  const std::string bytes;
};

// A stream whose buffer holds few bytes at a time, so that whatever is read runs
// over its ends: 1 to 16 as the choices say.
class Chunks : private std::streambuf, public std::istream {
 public:
  explicit Chunks(const Input& input)
      : std::istream(this), input(input), size(input.choices / 16 + 1), next(0) {}

 private:
  int_type underflow() override {
    if (next == input.bytes.size()) return traits_type::eof();
    chunk = input.bytes.substr(next, size);
    next += chunk.size();
    setg(&chunk[0], &chunk[0], &chunk[0] + chunk.size());
    return traits_type::to_int_type(chunk[0]);
  }

  const Input& input;
  const std::size_t size;
  std::size_t next;
  std::string chunk;
};

inline bool atEnd(const std::istream& in) {
  return in.rdstate() == (std::ios::eofbit | std::ios::failbit);
}

#endif
