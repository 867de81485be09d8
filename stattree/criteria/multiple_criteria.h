// MultipleCriteria: any number of terms joined by AND, in the order added.
// Grouping and subset specs are multiple criteria with one "=" term per
// field; a grouping takes the term values from the first record of its
// combination (SetValuesFromRecord). With no terms every record meets it.
//
// Thread-safety: none.
#ifndef STATTREE_CRITERIA_MULTIPLE_CRITERIA_H_
#define STATTREE_CRITERIA_MULTIPLE_CRITERIA_H_

#include <vector>

#include "stattree/criteria/criteria.h"

namespace stattree {

class MultipleCriteria : public Criteria {
 public:
  MultipleCriteria() = default;
  MultipleCriteria(const MultipleCriteria&) = default;
  MultipleCriteria& operator=(const MultipleCriteria&) = default;
  ~MultipleCriteria() override = default;

  MultipleCriteria* Clone() const override;
  bool AddNewCriteria(const CriteriaTerm& term) override;
  // Terms before a failing one keep their new values.
  bool SetValuesFromRecord(const StatsRecord& record) override;
  bool RecordMeetsCriteria(const StatsRecord& record) const override;
  int GetCriteriaCount() const override { return static_cast<int>(criteria.size()); }
  bool GetCriteriaValue(Variant& value, int index) const override;
  bool GetCriteriaText(std::string& text, int index, bool withOperator) const override;
  bool GetCriteria(CriteriaTerm& term, int index) const override;
  // The terms themselves, without copies, for lookups made per record.
  const std::vector<CriteriaTerm>& GetTerms() const { return criteria; }
  // Position by position up to the shorter term list: the first pair of
  // unequal values decides; all equal gives false.
  bool IsLessThan(const Criteria* other) const override;
  int GetCriteriaType() const override { return kMultipleType; }
  // "(Col 5  = North) AND (Col 7  = 2004)"
  void DumpObject(std::ostream& out, const char* indent) const override;
  // "North AND 2004"
  void DumpCriteriaValue(std::ostream& out, const char* prefix) const override;

 private:
  std::vector<CriteriaTerm> criteria;
};

}  // namespace stattree

#endif  // STATTREE_CRITERIA_MULTIPLE_CRITERIA_H_
