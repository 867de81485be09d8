// STATTREE_EXPORT marks the classes and statics a host links against. A
// Windows host imports them from stattree.dll, which exports them while
// it is built (STATTREE_BUILDING, set for the library's own sources and
// for tests that link those sources directly). Elsewhere every symbol of
// the shared library is visible already, so the mark is empty.
#ifndef STATTREE_EXPORT_H_
#define STATTREE_EXPORT_H_

#if defined(_WIN32)
#if defined(STATTREE_BUILDING)
#define STATTREE_EXPORT __declspec(dllexport)
#else
#define STATTREE_EXPORT __declspec(dllimport)
#endif
#else
#define STATTREE_EXPORT
#endif

#endif  // STATTREE_EXPORT_H_
