// SingleCriteria: a test of one term. Enumeration values, the open-ended
// bins of an edge-list histogram and a tree node's field value are single
// criteria. The term can be added once; a second AddNewCriteria fails with
// error 10618 and leaves the criteria unchanged.
//
// Thread-safety: none.
#ifndef STATTREE_CRITERIA_SINGLE_CRITERIA_H_
#define STATTREE_CRITERIA_SINGLE_CRITERIA_H_

#include "stattree/criteria/criteria.h"

namespace stattree {

class SingleCriteria : public Criteria {
 public:
  SingleCriteria() = default;
  SingleCriteria(const SingleCriteria&) = default;
  SingleCriteria& operator=(const SingleCriteria&) = default;
  ~SingleCriteria() override = default;

  SingleCriteria* Clone() const override;
  bool AddNewCriteria(const CriteriaTerm& term) override;
  bool SetValuesFromRecord(const StatsRecord& record) override;
  bool RecordMeetsCriteria(const StatsRecord& record) const override;
  int GetCriteriaCount() const override { return 1; }
  bool GetCriteriaValue(Variant& value, int index) const override;
  bool GetCriteriaText(std::string& text, int index, bool withOperator) const override;
  bool GetCriteria(CriteriaTerm& term, int index) const override;
  // The term itself, without a copy, for lookups made per record.
  const CriteriaTerm& GetTerm() const { return criteria; }
  bool IsLessThan(const Criteria* other) const override;
  int GetCriteriaType() const override { return kSingleType; }
  // "Col 3 = North"
  void DumpObject(std::ostream& out, const char* indent) const override;
  // "North"
  void DumpCriteriaValue(std::ostream& out, const char* prefix) const override;

 private:
  CriteriaTerm criteria;
};

}  // namespace stattree

#endif  // STATTREE_CRITERIA_SINGLE_CRITERIA_H_
