#include "tools/stattree/range_result.h"

#include "tools/stattree/byte_pack.h"

namespace stattree {
namespace cli {

std::string RangeResult::Pack() const {
  BytePacker packer;
  packer.PutSigned(static_cast<long long>(status));
  packer.PutText(message);
  packer.PutSigned(records);
  packer.PutSigned(skippedRows);
  packer.PutSigned(nodes);
  packer.PutText(nodeJournal);
  packer.PutText(warnings);
  packer.PutText(engine);
  return packer.Bytes();
}

bool RangeResult::Unpack(const std::string& bytes) {
  ByteUnpacker unpacker(bytes);
  long long code = 0;
  if (!unpacker.GetSigned(code) || code < static_cast<long long>(Status::Ok) ||
      code > static_cast<long long>(Status::Cancelled)) {
    return false;
  }
  status = static_cast<Status>(code);
  return unpacker.GetText(message) && unpacker.GetSigned(records) &&
         unpacker.GetSigned(skippedRows) && unpacker.GetSigned(nodes) &&
         unpacker.GetText(nodeJournal) && unpacker.GetText(warnings) && unpacker.GetText(engine) &&
         unpacker.AtEnd();
}

}  // namespace cli
}  // namespace stattree
