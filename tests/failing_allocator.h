// The replaced global allocation functions of a test binary: once armed,
// the n-th allocation from then on throws std::bad_alloc (the nothrow forms
// answer null), either once or from then on, as memory that stays
// exhausted does. A binary that includes this links failing_allocator.cc.
#ifndef STATTREE_TESTS_FAILING_ALLOCATOR_H_
#define STATTREE_TESTS_FAILING_ALLOCATOR_H_

namespace stattree {
namespace testing {

// n = 0 fails the next allocation.
void Arm(long n, bool sustained = false);
// Stops failing; answers whether a failure was injected since Arm.
bool Disarm();

}  // namespace testing
}  // namespace stattree

#endif  // STATTREE_TESTS_FAILING_ALLOCATOR_H_
