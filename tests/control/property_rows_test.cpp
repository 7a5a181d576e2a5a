// The tables of properties, as tables.
#include <set>

#include "control/property_rows.h"
#include "tests/control/control_fixture.h"

namespace {

TEST(PropertyRows, NoIdIsInTwoGroups)
{
    std::set<unsigned> ids;
    for (const PropertyGroup* const group : kPropertyGroups) {
        EXPECT_NE(group->begin(), group->end());
        for (const PropertyRow& row : *group)
            EXPECT_TRUE(ids.insert(row.id).second) << row.id;
    }
}

TEST(PropertyRows, EveryIdFindsItsRow)
{
    for (const PropertyGroup* const group : kPropertyGroups)
        for (const PropertyRow& row : *group)
            EXPECT_EQ(FindProperty(row.id), &row) << row.id;
    EXPECT_EQ(FindProperty(6), nullptr);
    EXPECT_EQ(FindProperty(0xFFFFFFFF), nullptr);
}

constexpr PropertyRow Plain(unsigned id)
{
    return {id, Access::kGetSet, Needs::kNothing, "%d", {&CameraSettings::bitrate}};
}

TEST(PropertyRows, InconsistentTablesAreNoticed)
{
    constexpr PropertyRow kGood[] = {Plain(1), Plain(2)};
    EXPECT_TRUE(IsConsistent(kGood));
    constexpr PropertyRow kTwice[] = {Plain(2), Plain(2)};
    EXPECT_FALSE(IsConsistent(kTwice));
    constexpr PropertyRow kFalling[] = {Plain(2), Plain(1)};
    EXPECT_FALSE(IsConsistent(kFalling));
    constexpr PropertyRow kNothingToRead[] = {{1, Access::kGet, Needs::kNothing, nullptr}};
    EXPECT_FALSE(IsConsistent(kNothingToRead));
    constexpr PropertyRow kBeyondTheRecord[] = {
        {1, Access::kSet, Needs::kNothing, nullptr, {{&CameraSettings::recorded, 69}}}};
    EXPECT_FALSE(IsConsistent(kBeyondTheRecord));
    constexpr PropertyRow kNoComplaint[] = {
        {1, Access::kSet, Needs::kNothing, nullptr, {{}, {0, 1, Outside::kRefused}}}};
    EXPECT_FALSE(IsConsistent(kNoComplaint));
    constexpr PropertyRow kWrongText[] = {{1, Access::kSet, Needs::kNothing, "%s"}};
    EXPECT_FALSE(IsConsistent(kWrongText));
}

TEST(PropertyRows, TextsShowTheValueAtMost)
{
    EXPECT_TRUE(PrintsOneNumberAtMost(nullptr));
    EXPECT_TRUE(PrintsOneNumberAtMost("text"));
    EXPECT_TRUE(PrintsOneNumberAtMost("a %d b"));
    for (const char* const format : {"%d %d", "%s", "%%", "100%"})
        EXPECT_FALSE(PrintsOneNumberAtMost(format)) << format;
}

}  // namespace
