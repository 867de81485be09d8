#include "tools/stattree/range_result.h"

#include "tools/stattree/byte_pack.h"

namespace stattree {
namespace cli {

std::string RangeResult::Pack() const {
  BytePacker packer;
  packer.PutInt(static_cast<long long>(status));
  packer.PutString(message);
  packer.PutInt(records);
  packer.PutInt(skippedRows);
  packer.PutInt(nodes);
  packer.PutString(warnings);
  packer.PutString(engine);
  return packer.Bytes();
}

bool RangeResult::Unpack(const std::string& bytes) {
  ByteUnpacker unpacker(bytes);
  long long code = 0;
  if (!unpacker.GetInt(code) || code < static_cast<long long>(Status::Ok) ||
      code > static_cast<long long>(Status::Cancelled)) {
    return false;
  }
  status = static_cast<Status>(code);
  return unpacker.GetString(message) && unpacker.GetInt(records) && unpacker.GetInt(skippedRows) &&
         unpacker.GetInt(nodes) && unpacker.GetString(warnings) && unpacker.GetString(engine) &&
         unpacker.AtEnd();
}

}  // namespace cli
}  // namespace stattree
