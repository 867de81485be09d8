// Fuzzes the job loader: any text must parse into a job or into messages,
// and a parsed job must resolve against a header or give messages.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/stattree/job_loader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  stattree::cli::Job job;
  std::vector<std::string> errors;
  if (!stattree::cli::JobLoader::Parse(job, errors, text)) {
    if (errors.empty()) __builtin_trap();  // a refusal always says why
    return 0;
  }
  const std::vector<std::string> header = {"region", "year", "amount", "channel", "region2"};
  stattree::cli::JobLoader::Resolve(job, errors, header);
  return 0;
}
