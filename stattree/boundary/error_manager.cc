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

ErrorManager::ErrorManager(const ErrorInfo* errorTable, const char* managerName)
    : table(errorTable), name(managerName != nullptr ? managerName : "") {
  locations.reserve(kReservedLocations);
}

const ErrorInfo* ErrorManager::FindRow(int errorCode) const {
  if (table == nullptr) return nullptr;
  for (const ErrorInfo* row = table; row->code != 0; ++row) {
    if (row->code == errorCode) return row;
  }
  return nullptr;
}

bool ErrorManager::SetFromRow(int errorCode, std::string errorDetail) {
  const ErrorInfo* row = FindRow(errorCode);
  isSet = true;
  code = errorCode;
  second = row != nullptr ? row->second : 0;
  flag = row != nullptr && row->flag;
  message = row != nullptr ? std::string(row->message, strnlen(row->message, sizeof row->message))
                           : std::string();
  detail = std::move(errorDetail);
  locations.clear();
  WriteError();
  return false;
}

bool ErrorManager::Set(int errorCode) { return SetFromRow(errorCode, std::string()); }

bool ErrorManager::Set(int errorCode, int errorDetail) {
  return SetFromRow(errorCode, std::to_string(errorDetail));
}

bool ErrorManager::Set(int errorCode, const std::string& errorDetail) {
  return SetFromRow(errorCode, errorDetail);
}

bool ErrorManager::Set(int errorCode, int errorSecond, const std::string& errorMessage,
                       bool errorFlag, bool /*extra*/) {
  isSet = true;
  code = errorCode;
  second = errorSecond;
  message = errorMessage;
  flag = errorFlag;
  detail.clear();
  locations.clear();
  WriteError();
  return false;
}

bool ErrorManager::DumpCode(int location) {
  // Reporting an allocation failure must not fail for want of memory itself.
  try {
    locations.push_back(location);
  } catch (const std::bad_alloc&) {
  }
  if (stream != nullptr) *stream << name << " location " << location << '\n';
  return false;
}

bool ErrorManager::Get(int& outCode, int& outSecond, std::string& outMessage, bool& outFlag) const {
  if (!isSet) return false;
  outCode = code;
  outSecond = second;
  outMessage = message;
  outFlag = flag;
  return true;
}

void ErrorManager::Clear() {
  isSet = false;
  code = 0;
  second = 0;
  flag = false;
  message.clear();
  detail.clear();
  locations.clear();
}

void ErrorManager::Init(std::ofstream* logStream) { stream = logStream; }

void ErrorManager::WriteError() const {
  if (stream == nullptr) return;
  *stream << name << " error " << code << " (" << second << ", " << (flag ? 1 : 0)
          << "): " << message;
  if (!detail.empty()) *stream << " [" << detail << ']';
  *stream << '\n';
}

}  // namespace stattree
