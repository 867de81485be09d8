#include "stattree/boundary/error_manager.h"

#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

namespace stattree {

namespace {
// Deeper than any failure path of the library; beyond it a location is
// kept only if memory allows.
constexpr std::size_t kReservedLocations = 64;
}  // namespace

ErrorManager::ErrorManager(const ErrorInfo* table, const char* name)
    : table_(table), name_(name != nullptr ? name : "") {
  locations_.reserve(kReservedLocations);
}

const ErrorInfo* ErrorManager::FindRow(int code) const {
  if (table_ == nullptr) return nullptr;
  for (const ErrorInfo* row = table_; row->code != 0; ++row) {
    if (row->code == code) return row;
  }
  return nullptr;
}

bool ErrorManager::SetFromRow(int code, std::string detail) {
  const ErrorInfo* row = FindRow(code);
  isSet_ = true;
  code_ = code;
  second_ = row != nullptr ? row->second : 0;
  flag_ = row != nullptr && row->flag;
  message_ = row != nullptr ? std::string(row->message, strnlen(row->message, sizeof row->message))
                            : std::string();
  detail_ = std::move(detail);
  locations_.clear();
  WriteError();
  return false;
}

bool ErrorManager::Set(int code) { return SetFromRow(code, std::string()); }

bool ErrorManager::Set(int code, int detail) { return SetFromRow(code, std::to_string(detail)); }

bool ErrorManager::Set(int code, const std::string& detail) { return SetFromRow(code, detail); }

bool ErrorManager::Set(int code, int second, const std::string& message, bool flag,
                       bool /*extra*/) {
  isSet_ = true;
  code_ = code;
  second_ = second;
  message_ = message;
  flag_ = flag;
  detail_.clear();
  locations_.clear();
  WriteError();
  return false;
}

bool ErrorManager::DumpCode(int location) {
  // Reporting an allocation failure must not fail for want of memory itself.
  try {
    locations_.push_back(location);
  } catch (const std::bad_alloc&) {
  }
  if (stream_ != nullptr) *stream_ << name_ << " location " << location << '\n';
  return false;
}

bool ErrorManager::Get(int& code, int& second, std::string& message, bool& flag) const {
  if (!isSet_) return false;
  code = code_;
  second = second_;
  message = message_;
  flag = flag_;
  return true;
}

void ErrorManager::Clear() {
  isSet_ = false;
  code_ = 0;
  second_ = 0;
  flag_ = false;
  message_.clear();
  detail_.clear();
  locations_.clear();
}

void ErrorManager::Init(std::ofstream* stream) { stream_ = stream; }

void ErrorManager::WriteError() const {
  if (stream_ == nullptr) return;
  *stream_ << name_ << " error " << code_ << " (" << second_ << ", " << (flag_ ? 1 : 0)
           << "): " << message_;
  if (!detail_.empty()) *stream_ << " [" << detail_ << ']';
  *stream_ << '\n';
}

}  // namespace stattree
