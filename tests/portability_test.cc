// What must not differ between Linux and Windows: integers keep 64 bits
// whatever the size of long (32 bits on Windows), and dumps are bytes
// whatever the host's locale.
#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cstdint>
#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/criteria/criteria_set.h"
#include "stattree/statistics/enum_result.h"
#include "stattree/statistics/stats_result.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::MapRecord;

constexpr int kColumn = 1;
constexpr int kRecords = 1234;

TEST(Portability, IntegersKeep64BitsFromEveryIntegerType) {
  const struct {
    Variant value;
    std::string text;
  } cases[] = {
      {Variant(INT64_MAX), "9223372036854775807"},
      {Variant(INT64_MIN), "-9223372036854775808"},
      {Variant(std::int64_t{1} << 40), "1099511627776"},
      {Variant(LLONG_MAX), "9223372036854775807"},
      {Variant(LONG_MIN), std::to_string(LONG_MIN)},
      {Variant(INT_MIN), "-2147483648"},
  };
  for (const auto& c : cases) {
    EXPECT_TRUE(c.value.IsInteger()) << c.text;
    EXPECT_EQ(c.value.ToString(), c.text);
  }
  // Beyond 32 bits the arithmetic stays integer.
  Variant sum = Variant(INT64_C(4000000000)) + Variant(INT64_C(4000000000));
  EXPECT_TRUE(sum.IsInteger());
  EXPECT_EQ(sum.ToString(), "8000000000");
}

class GroupingComma : public std::numpunct<char> {
 protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '\''; }
  std::string do_grouping() const override { return "\3"; }
};

// Sets a C locale with a decimal comma for its lifetime, if the system
// has one under any of the usual names (Wine knows the Windows ones).
class CommaCLocale {
 public:
  CommaCLocale() : previous_(std::setlocale(LC_ALL, nullptr)) {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "German_Germany.1252"}) {
      if (std::setlocale(LC_ALL, name) != nullptr) {
        set_ = true;
        break;
      }
    }
  }
  ~CommaCLocale() { std::setlocale(LC_ALL, previous_.c_str()); }
  CommaCLocale(const CommaCLocale&) = delete;
  CommaCLocale& operator=(const CommaCLocale&) = delete;
  bool Set() const { return set_; }

 private:
  std::string previous_;
  bool set_ = false;
};

class DumpLocale : public testing::ErrorTest {
 protected:
  // An accumulator of `type` over kRecords records of `value`, finalized.
  std::unique_ptr<StatsResult> Accumulate(StatsDefn::StatsType type, const Variant& value) {
    std::unique_ptr<StatsResult> result(StatsResult::New(type, kColumn));
    if (result->IsEnum()) {
      EXPECT_TRUE(static_cast<EnumResult&>(*result).ConfigureCriteriaSet(&regions));
    }
    MapRecord record({{kColumn, value}});
    for (int i = 0; i < kRecords; ++i) EXPECT_TRUE(result->ProcessRecord(record));
    result->Finalize();
    return result;
  }

  static std::string DumpOf(StatsResult& result, const std::locale& locale) {
    std::ostringstream out;
    out.imbue(locale);
    result.DumpObject(out);
    return out.str();
  }

  void SetUp() override {
    ErrorTest::SetUp();
    ASSERT_TRUE(regions.CreateEnum(std::vector<std::string>{"North", "South"}, kColumn));
  }

  CriteriaSet regions;
};

TEST_F(DumpLocale, NeitherTheStreamsNorTheProcessLocaleChangesADump) {
  const struct {
    StatsDefn::StatsType type;
    Variant value;
    const char* expected;  // a part of the dump in the classic locale
  } cases[] = {
      {StatsDefn::Count, Variant(), "Result    : 1234"},
      {StatsDefn::CountValid, Variant(1), "Result    : 1234"},
      {StatsDefn::Sum, Variant(1.5), "Result    : 1851"},
      {StatsDefn::Average, Variant(2.25), "Result    : 2.25"},
      {StatsDefn::EnumCount, Variant("North"), "Count=1234\r\n"},
      {StatsDefn::EnumPercent, Variant("North"), "Percent = 100.00%\r\n"},
  };
  const std::locale grouping(std::locale::classic(), new GroupingComma);
  for (const auto& c : cases) {
    auto result = Accumulate(c.type, c.value);
    const std::string classic = DumpOf(*result, std::locale::classic());
    EXPECT_NE(classic.find(c.expected), std::string::npos) << c.type << ": " << classic;
    EXPECT_EQ(DumpOf(*result, grouping), classic) << c.type;
    const CommaCLocale comma;
    if (comma.Set()) {
      EXPECT_EQ(DumpOf(*result, std::locale::classic()), classic) << c.type;
    }
  }
}

}  // namespace
}  // namespace stattree
