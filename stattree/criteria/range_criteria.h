// RangeCriteria: a lower and an upper term that must both hold; the closed
// bins of a histogram. The first AddNewCriteria sets the lower term and the
// second the upper one, whatever their operators; a third fails with error
// 10678 and leaves the criteria unchanged. An empty value as a bound leaves
// that side open (every non-empty value passes it).
//
// Thread-safety: none.
#ifndef STATTREE_CRITERIA_RANGE_CRITERIA_H_
#define STATTREE_CRITERIA_RANGE_CRITERIA_H_

#include "stattree/criteria/criteria.h"

namespace stattree {

class RangeCriteria : public Criteria {
 public:
  RangeCriteria() = default;
  RangeCriteria(const RangeCriteria&) = default;
  RangeCriteria& operator=(const RangeCriteria&) = default;
  ~RangeCriteria() override = default;

  RangeCriteria* Clone() const override;
  bool AddNewCriteria(const CriteriaTerm& term) override;
  // Range bounds are fixed: does nothing and succeeds.
  bool SetValuesFromRecord(const StatsRecord& record) override;
  bool RecordMeetsCriteria(const StatsRecord& record) const override;
  int GetCriteriaCount() const override { return 2; }
  // Index 0 is the lower term, 1 the upper term.
  bool GetCriteriaValue(Variant& value, int index) const override;
  bool GetCriteriaText(std::string& text, int index, bool withOperator) const override;
  bool GetCriteria(CriteriaTerm& term, int index) const override;
  // Compares the lower values.
  bool IsLessThan(const Criteria* other) const override;
  int GetCriteriaType() const override { return kRangeType; }
  // "10 >= Col 3 < 20" (the upper term's column is not written)
  void DumpObject(std::ostream& out, const char* indent) const override;
  // "[10* - 20]": a star marks an inclusive edge.
  void DumpCriteriaValue(std::ostream& out, const char* prefix) const override;

 private:
  CriteriaTerm lowerCriteria;
  CriteriaTerm upperCriteria;
};

}  // namespace stattree

#endif  // STATTREE_CRITERIA_RANGE_CRITERIA_H_
