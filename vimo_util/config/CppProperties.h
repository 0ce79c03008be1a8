#ifndef VIMO_UTIL_CONFIG_CPPPROPERTIES_H
#define VIMO_UTIL_CONFIG_CPPPROPERTIES_H

#include <cstdint>
#include <istream>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "vimo_util/frame/VIMOException.h"
#include "vimo_util/frame/export.h"

namespace vimo {
namespace util {
namespace config {

// A configuration: string keys, each with one string value, in the order of the
// keys' bytes. It has a text form for people and a binary form for any bytes.
//
// Strings    bytes: no character set, no limit of length; the empty key is a key.
// Lookups    take an empty value for none. Those without an underscore then give
//            a default; those with one throw a VIMOException, and nothing else:
//            any other exception goes to the unexpected-exception handler, which
//            by default ends the process. load() of a path promises the same.
// Threads    lookups and getKeys() may run side by side while nobody changes the
//            object; all else needs the caller's exclusion.
// Errors     what is not said below passes through as a standard exception.
//            Trouble with a stream shows in the stream's state, and as its
//            exceptions mask asks for it; read() tells so too that memory ran out
//            for a line.
class VIMO_UTIL_API CppProperties {
 public:
  // `keepInlineHash`: whether read() takes a `#` behind the first column of a
  // line for data; else a comment starts there.
  explicit CppProperties(bool keepInlineHash = false);

  // Writes nothing, whatever isModified() says.
  virtual ~CppProperties();

  // The value of `key`, or "".
  std::string getProperty(const std::string& key);

  // Whether `key` has a value that is not empty.
  bool exist(const std::string& key);

  // The value as a decimal or as a hexadecimal number, or 0. Reads as strtoll()
  // does: blanks, a sign, and for getHEX() "0x" may stand in front, what follows
  // the number is ignored, text without a number is 0, and a number out of range
  // becomes the nearest of 64 bits. None of that is an error.
  std::int64_t getInt(const std::string& key);
  std::int64_t getHEX(const std::string& key);

  // Whether the value is exactly "on".
  bool isOn(const std::string& key);

  // As the lookups above, but throw a VIMOException, with the codes 0x1080 to
  // 0x1083, if exist(key) is false.
  std::string getProperty_(const std::string& key);
  std::int64_t getInt_(const std::string& key);
  std::int64_t getHEX_(const std::string& key);
  bool isOn_(const std::string& key);

  // Stores `value` under `key`. Sets the flag isModified() unless `key` had this
  // value, or none and `value` is empty. When memory runs out, nothing changes.
  void setProperty(const std::string& key, const std::string& value);

  // Appends every key to `keys`, in order, those with an empty value included.
  void getKeys(std::vector<std::string>& keys);

  // Removes all entries and sets the flag isModified().
  void clear();

  // Whether the contents have changed since construction or setModified(false).
  // Every loading counts as a change, writing does not.
  bool isModified();
  void setModified(const bool& value);

  // The text form: lines `key=value`, cut at the first `=`. Spaces around key
  // and value are dropped; a line that starts with `#` or has no `=` is ignored;
  // of two lines with one key the later counts. Nothing is escaped: a key or
  // value with a newline, outer spaces or a `#` that starts a comment, or a key
  // with `=`, does not survive write() and read().

  // Replaces all entries by those of the text on `in`, from where it stands to
  // its end, where `in` is left in a failed state. When `in` fails earlier, the
  // entries read by then stay.
  void read(std::istream& in);

  // Writes a line for each entry and flushes `out` after each.
  void write(std::ostream& out);

  // As read(), from a file. Throws a VIMOException: 0x1E0001 if the file cannot
  // be opened, and this object is unchanged; 0x1E0002 if anything else fails,
  // and the entries read by then stay. A thread may be cancelled in it.
  void load(const std::string& path);

  // The binary form: for each key, then its value, 4 bytes of length in the
  // machine's byte order and the bytes themselves. It keeps every byte.

  // Writes all entries, without a flush.
  void save(std::ostream& out);

  // Replaces all entries by those of the records on `in`, to its end, where `in`
  // is left in a failed state. A record that is cut short is not stored; those
  // before it stay, also when memory runs out. A length that promises more than
  // `in` holds costs no memory.
  void load(std::istream& in);

  // One string of the binary form. put() of a string of 4 GiB or more writes
  // nothing and sets failbit. get() replaces `value`; when `in` fails, `value`
  // holds no other bytes than `in` gave.
  static void put(std::ostream& out, const std::string& value);
  static void get(std::istream& in, std::string& value);

 private:
  std::map<std::string, std::string> entries;
  bool keepInlineHash;
  bool trimOnRead;
  bool modified;
};

}  // namespace config
}  // namespace util
}  // namespace vimo

#endif
