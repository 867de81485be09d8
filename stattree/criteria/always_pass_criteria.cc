#include "stattree/criteria/always_pass_criteria.h"

namespace stattree {

AlwaysPassCriteria* AlwaysPassCriteria::Clone() const { return new AlwaysPassCriteria(*this); }

// Takes no terms; the refusal is not a fault.
bool AlwaysPassCriteria::AddNewCriteria(const CriteriaTerm& /*term*/) { return false; }

bool AlwaysPassCriteria::SetValuesFromRecord(const StatsRecord& /*record*/) { return true; }

bool AlwaysPassCriteria::RecordMeetsCriteria(const StatsRecord& /*record*/) const { return true; }

bool AlwaysPassCriteria::GetCriteriaValue(Variant& /*value*/, int /*index*/) const { return false; }

// An empty name for any index: callers walking all terms get nothing.
bool AlwaysPassCriteria::GetCriteriaText(std::string& text, int /*index*/,
                                         bool /*withOperator*/) const {
  text.clear();
  return true;
}

bool AlwaysPassCriteria::GetCriteria(CriteriaTerm& /*term*/, int /*index*/) const { return false; }

bool AlwaysPassCriteria::IsLessThan(const Criteria* /*other*/) const { return false; }

void AlwaysPassCriteria::DumpObject(std::ostream& out, const char* indent) const {
  out << OrEmpty(indent) << "Col ??? = any value";
}

void AlwaysPassCriteria::DumpCriteriaValue(std::ostream& out, const char* prefix) const {
  out << OrEmpty(prefix) << "all_values";
}

}  // namespace stattree
