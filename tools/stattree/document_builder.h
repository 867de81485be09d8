// DocumentBuilder: builds a job file's JSON document while the text is
// parsed.
//
// Refuses nesting past 100 levels before anything that deep exists
// (copying a value recurses once per level), and reports keys that occur
// twice in one object, keeping the last value at the first place. Messages
// go to the borrowed `errors`, as "<JSON pointer>: <what is wrong>".
//
// One builder per parse; not thread-safe.
#ifndef STATTREE_TOOLS_DOCUMENT_BUILDER_H_
#define STATTREE_TOOLS_DOCUMENT_BUILDER_H_

#include <cstddef>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace stattree {
namespace cli {

// A job file's JSON document, its members in the order of the file.
using JobDocument = nlohmann::ordered_json;

class DocumentBuilder {
 public:
  using json = JobDocument;

  DocumentBuilder(json& root, std::vector<std::string>& errors) : root_(root), errors_(errors) {}

  // The interface json::sax_parse calls; false stops parsing.
  bool null() { return Add(json(nullptr)); }
  bool boolean(bool value) { return Add(json(value)); }
  bool number_integer(json::number_integer_t value) { return Add(json(value)); }
  bool number_unsigned(json::number_unsigned_t value) { return Add(json(value)); }
  bool number_float(json::number_float_t value, const std::string&) { return Add(json(value)); }
  bool string(std::string& value) { return Add(json(std::move(value))); }
  bool binary(json::binary_t& value) { return Add(json::binary(std::move(value))); }
  bool start_object(std::size_t) { return Open(true); }
  bool start_array(std::size_t) { return Open(false); }
  bool key(std::string& key);
  bool end_object() { return Close(); }
  bool end_array() { return Close(); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& e);

 private:
  // Members and elements are gathered in plain vectors and each container
  // is placed in its parent when it closes: ordered_json's own insertion
  // searches the object for the key, and growing its vector copies every
  // member.
  struct Frame {
    bool isObject = false;
    std::vector<std::pair<std::string, json>> members;
    std::map<std::string, std::size_t> memberIndex;
    std::string key;       // of the member being read
    std::size_t slot = 0;  // where it goes in `members`
    json::array_t elements;
  };

  bool Open(bool isObject);
  bool Close();
  bool Add(json&& value);
  // Pointer of the value being read in frames_[depth - 1].
  std::string Path(std::size_t depth) const;

  json& root_;
  std::vector<std::string>& errors_;
  std::vector<Frame> frames_;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_DOCUMENT_BUILDER_H_
