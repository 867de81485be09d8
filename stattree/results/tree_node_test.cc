#include "stattree/results/tree_node.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/record_cache.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::HeldError;
using testing::Locations;
using testing::MapRecord;

class TreeNodeTest : public testing::ErrorTest {
 protected:
  void SetUp() override {
    testing::ErrorTest::SetUp();
    ASSERT_TRUE(prototype.AddNewStatsDefn(count));
    ASSERT_TRUE(root.CreateCriteriaForAllRecords());
    root.SetField(Field{"Root", -1});
  }

  // Finds or makes the child for the record's value in `column`, as the
  // engine does.
  TreeNode* Descend(TreeNode& node, const MapRecord& record, int column, bool* made = nullptr) {
    TreeNode* child = nullptr;
    bool created = false;
    EXPECT_TRUE(node.CreateChild(child, created, &record));
    if (created) {
      EXPECT_TRUE(child->CreateCriteria(column, record));
      if (!child->EmptyNode()) child->InitializeResults(prototype);
    }
    if (made != nullptr) *made = created;
    return child;
  }
  static std::string Name(const TreeNode* node) {
    std::string name;
    return node->GetName(name) ? name : "?";
  }

  StatsDefn count = testing::Defn("N", Field{"Amount", 3}, StatsDefn::Count);
  NodeResults prototype;
  TreeNode root;
};

TEST_F(TreeNodeTest, ChildrenKeepFirstSeenOrderAndStableAddresses) {
  bool made = false;
  TreeNode* a = Descend(root, MapRecord{{1, "A"}}, 1);
  TreeNode* b = Descend(root, MapRecord{{1, "B"}}, 1);
  EXPECT_EQ(Descend(root, MapRecord{{1, "A"}}, 1, &made), a);
  EXPECT_FALSE(made);
  // Text-equivalent values share a child, which keeps the first text.
  TreeNode* five = Descend(root, MapRecord{{1, 5}}, 1);
  EXPECT_EQ(Descend(root, MapRecord{{1, "5"}}, 1, &made), five);
  EXPECT_FALSE(made);
  TreeNode* child = nullptr;
  ASSERT_TRUE(root.GetChild(child, 1));
  EXPECT_EQ(child, b);
  EXPECT_EQ(Name(a), "A");
  EXPECT_EQ(Name(&root), "root");
  EXPECT_FALSE(root.GetChild(child, root.GetChildCount()));
  EXPECT_EQ(HeldError().code, 11140);
}

TEST_F(TreeNodeTest, ANodeWithoutNameCountsAsEmpty) {
  TreeNode fresh;
  std::string name = "kept";
  EXPECT_FALSE(fresh.GetName(name));
  EXPECT_EQ(Locations().back(), 11150);
  EXPECT_TRUE(fresh.EmptyNode());
  EXPECT_EQ(Locations().back(), 11152);

  TreeNode* blank = Descend(root, MapRecord{{1, ""}}, 1);
  EXPECT_EQ(Name(blank), "[no name]");
  Descend(*blank, MapRecord{{2, "X"}}, 2);
  EXPECT_EQ(root.GetChildCount(), 1);
  TreeNode* hidden = nullptr;
  ASSERT_TRUE(root.GetChild(hidden, 0));
  EXPECT_EQ(Name(hidden), "X");
  EXPECT_EQ(hidden->GetParent(), &root);
}

TEST_F(TreeNodeTest, VisibleChildrenFollowEveryChange) {
  TreeNode* blank = Descend(root, MapRecord{{1, ""}}, 1);
  EXPECT_EQ(root.GetChildCount(), 0);
  Descend(*blank, MapRecord{{2, "X"}}, 2);
  EXPECT_EQ(root.GetChildCount(), 1);
  blank->SetField(Field{"Root", -1});  // named "root" from now on: visible itself
  TreeNode* child = nullptr;
  ASSERT_TRUE(root.GetChild(child, 0));
  EXPECT_EQ(child, blank);

  // A child that can't be named is reported on every walk.
  TreeNode* bare = nullptr;
  bool created = false;
  MapRecord other{{1, "Z"}};
  ASSERT_TRUE(root.CreateChild(bare, created, &other));
  TheErrorManager().Clear();
  EXPECT_EQ(root.GetChildCount(), 1);
  EXPECT_EQ(root.GetChildCount(), 1);
  EXPECT_EQ(Locations(), (std::vector<int>{11150, 11152, 11150, 11152}));
}

TEST_F(TreeNodeTest, CopiesAreDeepAndRepointTheirChildren) {
  TreeNode* north = Descend(root, MapRecord{{1, "North"}}, 1);
  Descend(*north, MapRecord{{2, "A"}}, 2);
  TreeNode copy(*north);
  EXPECT_EQ(copy.GetParent(), &root);
  TreeNode* copiedChild = nullptr;
  ASSERT_TRUE(copy.GetChild(copiedChild, 0));
  EXPECT_EQ(copiedChild->GetParent(), &copy);
  EXPECT_NE(copy.GetCriteria(), north->GetCriteria());
  Descend(*north, MapRecord{{2, "B"}}, 2);
  EXPECT_EQ(copy.GetChildCount(), 1);

  // Assigning a node from its own child reads the child before releasing it.
  TreeNode* second = nullptr;
  ASSERT_TRUE(north->GetChild(second, 1));
  *north = *second;
  EXPECT_EQ(Name(north), "B");
  EXPECT_EQ(north->GetChildCount(), 0);
}

// A change deep inside a copy reaches the copy's cached walk, not the
// source's: the copied children join the copy's tree.
TEST_F(TreeNodeTest, EachTreeKeepsItsOwnCaches) {
  TreeNode* north = Descend(root, MapRecord{{1, "North"}}, 1);
  TreeNode* blank = Descend(*north, MapRecord{{2, ""}}, 2);
  Descend(*blank, MapRecord{{3, "X"}}, 3);
  TreeNode copy(*north);
  EXPECT_EQ(copy.GetChildCount(), 1);  // X, in the blank child's place
  TreeNode* copiedBlank = Descend(copy, MapRecord{{2, ""}}, 2);
  ASSERT_NE(copiedBlank, blank);
  Descend(*copiedBlank, MapRecord{{3, "Y"}}, 3);
  EXPECT_EQ(copy.GetChildCount(), 2);
  EXPECT_EQ(north->GetChildCount(), 1);
  EXPECT_EQ(root.GetChildCount(), 1);
}

// Through the engine's cache a node compares the record's value with its
// few children's kept values; changes through GetCriteria or assignment
// must reach those.
TEST_F(TreeNodeTest, FewChildrenFoundThroughTheCacheFollowChangedValues) {
  TreeNode* a = Descend(root, MapRecord{{1, "A"}}, 1);
  TreeNode* b = Descend(root, MapRecord{{1, "B"}}, 1);
  const auto find = [&](const char* value) -> TreeNode* {
    const MapRecord host{{1, value}};
    const RecordCache cache(host, true);
    TreeNode* child = nullptr;
    bool created = false;
    EXPECT_TRUE(root.CreateChild(child, created, &cache));
    return created ? nullptr : child;
  };
  EXPECT_EQ(find("B"), b);
  ASSERT_TRUE(b->GetCriteria()->SetValuesFromRecord(MapRecord{{1, "Z"}}));
  EXPECT_EQ(find("Z"), b);
  *a = *b;
  EXPECT_EQ(find("Z"), a);
  EXPECT_EQ(find("A"), nullptr);
  EXPECT_FALSE(HeldError().set);
}

// Past a few children a node finds its child through an index; these pin
// that it answers exactly as the walk in creation order.
class TreeNodeManyChildrenTest : public TreeNodeTest {
 protected:
  static constexpr int kChildren = 40;
  void SetUp() override {
    TreeNodeTest::SetUp();
    for (int i = 0; i < kChildren; ++i) kids.push_back(Descend(root, Value(i), 1));
  }
  static MapRecord Value(int i) { return MapRecord{{1, "V" + std::to_string(i)}}; }

  std::vector<TreeNode*> kids;
};

TEST_F(TreeNodeManyChildrenTest, FindsTheFirstTextEquivalentChildAndAppendsNewOnes) {
  bool made = true;
  for (int i = kChildren - 1; i >= 0; --i) {
    EXPECT_EQ(Descend(root, Value(i), 1, &made), kids[static_cast<size_t>(i)]);
    EXPECT_FALSE(made);
  }
  TreeNode* five = Descend(root, MapRecord{{1, 5.0}}, 1, &made);
  EXPECT_TRUE(made);
  EXPECT_EQ(Descend(root, MapRecord{{1, "5"}}, 1, &made), five);
  EXPECT_FALSE(made);
  EXPECT_EQ(Descend(root, MapRecord{{1, 5}}, 1, &made), five);
  EXPECT_EQ(Name(five), "5");
  TreeNode* last = nullptr;
  ASSERT_TRUE(root.GetChild(last, kChildren));
  EXPECT_EQ(last, five);
  // A value without text is a key like any other.
  TreeNode* blank = Descend(root, MapRecord{{1, ""}}, 1, &made);
  EXPECT_TRUE(made);
  EXPECT_EQ(Descend(root, MapRecord{{1, Variant()}}, 1, &made), blank);
  EXPECT_FALSE(made);
  EXPECT_FALSE(HeldError().set);
}

TEST_F(TreeNodeManyChildrenTest, AnErrorAlreadySetFailsAtTheFirstChildThatDoesNotMatch) {
  TheErrorManager().Set(11140);
  TreeNode* child = nullptr;
  bool created = false;
  MapRecord first = Value(0);
  ASSERT_TRUE(root.CreateChild(child, created, &first));
  EXPECT_EQ(child, kids[0]);
  MapRecord later = Value(7);
  EXPECT_FALSE(root.CreateChild(child, created, &later));
  EXPECT_EQ(Locations(), (std::vector<int>{10640, 11130}));
  EXPECT_EQ(root.GetChildCount(), kChildren);
}

TEST_F(TreeNodeManyChildrenTest, AFailedReadIsReportedByTheFirstChildsTest) {
  TreeNode* child = nullptr;
  bool created = false;
  MapRecord unreadable({{2, "V3"}}, MapRecord::Describe::LeavePresets);
  EXPECT_FALSE(root.CreateChild(child, created, &unreadable));
  EXPECT_EQ(Locations(), (std::vector<int>{10610, 10640, 11130}));
  EXPECT_EQ(root.GetChildCount(), kChildren);
}

TEST_F(TreeNodeManyChildrenTest, AChildOnAnotherColumnKeepsTheWalk) {
  bool made = false;
  TreeNode* other = Descend(root, MapRecord{{1, "new"}, {2, "W"}}, 2, &made);
  ASSERT_TRUE(made);
  // Only the child on column 2 matches: the walk finds it last.
  EXPECT_EQ(Descend(root, MapRecord{{1, "none"}, {2, "W"}}, 1, &made), other);
  EXPECT_FALSE(made);
  EXPECT_EQ(Descend(root, MapRecord{{1, "V9"}, {2, "W"}}, 1, &made), kids[9]);
}

TEST_F(TreeNodeManyChildrenTest, ValuesChangedThroughGetCriteriaAreFound) {
  ASSERT_TRUE(kids[3]->GetCriteria()->SetValuesFromRecord(MapRecord{{1, "Z"}}));
  bool made = true;
  EXPECT_EQ(Descend(root, MapRecord{{1, "Z"}}, 1, &made), kids[3]);
  EXPECT_FALSE(made);
  TreeNode* again = Descend(root, Value(3), 1, &made);
  EXPECT_TRUE(made);
  EXPECT_NE(again, kids[3]);
}

TEST_F(TreeNodeManyChildrenTest, CopiesAndClearedNodesFindTheirOwnChildren) {
  TreeNode copy(root);
  bool made = true;
  TreeNode* copied = Descend(copy, Value(20), 1, &made);
  EXPECT_FALSE(made);
  EXPECT_EQ(copied->GetParent(), &copy);
  EXPECT_NE(copied, kids[20]);
  // A child assigned another value is found by it, and no longer by its old one.
  *kids[4] = *kids[30];
  EXPECT_EQ(Descend(root, Value(30), 1, &made), kids[4]);
  EXPECT_FALSE(made);
  Descend(root, Value(4), 1, &made);
  EXPECT_TRUE(made);

  root.DeleteDataMembers();
  EXPECT_EQ(root.GetChildCount(), 0);
  ASSERT_TRUE(root.CreateCriteriaForAllRecords());
  root.SetField(Field{"Root", -1});
  Descend(root, Value(1), 1, &made);
  EXPECT_TRUE(made);
  EXPECT_EQ(root.GetChildCount(), 1);
}

}  // namespace
}  // namespace stattree
