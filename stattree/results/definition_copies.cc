#include "stattree/results/definition_copies.h"

#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_set.h"

namespace stattree {

std::shared_ptr<Criteria> DefinitionCopies::CopyOf(const Criteria& criteria) {
  std::shared_ptr<Criteria>& copy = criteriaCopies[&criteria];
  if (copy == nullptr) copy.reset(criteria.Clone());
  return copy;
}

std::shared_ptr<CriteriaSet> DefinitionCopies::CopyOf(const CriteriaSet& set) {
  std::shared_ptr<CriteriaSet>& copy = setCopies[&set];
  if (copy == nullptr) copy = std::make_shared<CriteriaSet>(set);
  return copy;
}

}  // namespace stattree
