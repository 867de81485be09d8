#include "stattree/boundary/value_record.h"

namespace stattree {

void ValueRecord::Add(int column, const Variant& value) {
  for (const auto& held : values) {
    if (held.first == column) return;
  }
  values.emplace_back(column, value);
}

bool ValueRecord::GetValue(Variant& value, int colNum) const {
  const Variant* held = Find(colNum);
  if (held == nullptr) return false;
  value = *held;
  return true;
}

const Variant* ValueRecord::Find(int colNum) const {
  for (const auto& held : values) {
    if (held.first == colNum) return &held.second;
  }
  return nullptr;
}

bool ValueRecord::GetError(int& /*code*/, int& /*second*/, std::string& /*message*/,
                           bool& /*flag*/) const {
  return false;
}

}  // namespace stattree
