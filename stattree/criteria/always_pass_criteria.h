// AlwaysPassCriteria: no terms; every record meets it. Stands for all
// records: a grouping's totals, a statistic without subset, the tree root.
// It takes no terms (AddNewCriteria answers false without an error), and
// its text is empty for any index.
//
// Thread-safety: none.
#ifndef STATTREE_CRITERIA_ALWAYS_PASS_CRITERIA_H_
#define STATTREE_CRITERIA_ALWAYS_PASS_CRITERIA_H_

#include "stattree/criteria/criteria.h"

namespace stattree {

class AlwaysPassCriteria : public Criteria {
 public:
  AlwaysPassCriteria() = default;
  AlwaysPassCriteria(const AlwaysPassCriteria&) = default;
  AlwaysPassCriteria& operator=(const AlwaysPassCriteria&) = default;
  ~AlwaysPassCriteria() override = default;

  AlwaysPassCriteria* Clone() const override;
  bool AddNewCriteria(const CriteriaTerm& term) override;
  bool SetValuesFromRecord(const StatsRecord& record) override;
  bool RecordMeetsCriteria(const StatsRecord& record) const override;
  int GetCriteriaCount() const override { return 0; }
  bool GetCriteriaValue(Variant& value, int index) const override;
  bool GetCriteriaText(std::string& text, int index, bool withOperator) const override;
  bool GetCriteria(CriteriaTerm& term, int index) const override;
  bool IsLessThan(const Criteria* other) const override;
  int GetCriteriaType() const override { return kAlwaysPassType; }
  // "Col ??? = any value"
  void DumpObject(std::ostream& out, const char* indent) const override;
  // "all_values"
  void DumpCriteriaValue(std::ostream& out, const char* prefix) const override;
};

}  // namespace stattree

#endif  // STATTREE_CRITERIA_ALWAYS_PASS_CRITERIA_H_
