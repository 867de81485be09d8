// The one header a host includes: every public type of stattree.
#ifndef STATTREE_STATTREE_H_
#define STATTREE_STATTREE_H_

// boundary
#include "stattree/boundary/error_info.h"
#include "stattree/boundary/error_manager.h"
#include "stattree/boundary/field.h"
#include "stattree/boundary/progress_manager.h"
#include "stattree/boundary/record_error.h"
#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"

// criteria
#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_set.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/criteria/multiple_criteria.h"
#include "stattree/criteria/range_criteria.h"
#include "stattree/criteria/single_criteria.h"

// definitions
#include "stattree/definitions/stats_defn.h"

// statistics
#include "stattree/statistics/enum_result.h"
#include "stattree/statistics/scalar_results.h"
#include "stattree/statistics/stats_result.h"

// results
#include "stattree/results/grouping_results.h"
#include "stattree/results/node_results.h"
#include "stattree/results/stats_set.h"
#include "stattree/results/subset_results.h"
#include "stattree/results/tree_node.h"

// engine
#include "stattree/engine/stats.h"

#endif  // STATTREE_STATTREE_H_
