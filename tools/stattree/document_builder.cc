#include "tools/stattree/document_builder.h"

#include "tools/stattree/job_text.h"

namespace stattree {
namespace cli {
namespace {

// The deepest a valid job goes: /statistics/<name>/subset/where/<column>.
constexpr std::size_t kJobDepth = 5;
// Far past any valid job, so that the error names where it went wrong,
// and shallow enough that its pointer stays readable.
constexpr std::size_t kMaxDepth = 100;

}  // namespace

bool DocumentBuilder::key(std::string& key) {
  Frame& frame = frames_.back();
  const auto [it, added] = frame.memberIndex.emplace(key, frame.members.size());
  if (!added) {
    errors_.push_back(JobText::Where(Path(frames_.size() - 1)) + ": the key " +
                      JobText::Quote(key) + " appears twice");
  }
  frame.slot = it->second;
  frame.key = std::move(key);
  return true;
}

bool DocumentBuilder::parse_error(std::size_t, const std::string&,
                                  const nlohmann::detail::exception& e) {
  std::string message = e.what();
  // Drop the library's "[json.exception.parse_error.101] " tag.
  const std::size_t tagEnd = message.find("] ");
  if (message.rfind("[json.exception.", 0) == 0 && tagEnd != std::string::npos) {
    message.erase(0, tagEnd + 2);
  }
  errors_.push_back("invalid JSON: " + message);
  return false;
}

bool DocumentBuilder::Open(bool isObject) {
  if (frames_.size() == kMaxDepth) {
    errors_.push_back(JobText::Where(Path(frames_.size())) +
                      ": arrays and objects nest more than " + std::to_string(kMaxDepth) +
                      " levels deep (a job needs at most " + std::to_string(kJobDepth) + ")");
    return false;
  }
  frames_.emplace_back();
  frames_.back().isObject = isObject;
  return true;
}

bool DocumentBuilder::Close() {
  Frame frame = std::move(frames_.back());
  frames_.pop_back();
  if (!frame.isObject) return Add(json(std::move(frame.elements)));
  json object(json::value_t::object);
  auto& members = object.get_ref<json::object_t&>();
  members.reserve(frame.members.size());
  // Appended as they are: the keys are known to be distinct.
  for (auto& member : frame.members) {
    members.emplace_back(std::move(member.first), std::move(member.second));
  }
  return Add(std::move(object));
}

bool DocumentBuilder::Add(json&& value) {
  if (frames_.empty()) {
    root_ = std::move(value);
    return true;
  }
  Frame& frame = frames_.back();
  if (!frame.isObject) {
    frame.elements.push_back(std::move(value));
    return true;
  }
  if (frame.slot < frame.members.size()) {
    frame.members[frame.slot].second = std::move(value);
  } else {
    frame.members.emplace_back(std::move(frame.key), std::move(value));
  }
  return true;
}

std::string DocumentBuilder::Path(std::size_t depth) const {
  std::string path;
  for (std::size_t i = 0; i < depth; ++i) {
    const Frame& frame = frames_[i];
    path += "/" + (frame.isObject ? JobText::PointerToken(frame.key)
                                  : std::to_string(frame.elements.size()));
  }
  return path;
}

}  // namespace cli
}  // namespace stattree
