// Look-ups in records and the health of objects.
#include <PI/Health.h>
#include <PI/Interchange.h>
#include <PI/Lookup.h>
#include <PI/Records.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace PI;

CProperty Number(int id, unsigned long long value, unsigned int secondary = 0) {
    CProperty p(static_cast<_PROPERTY_ID>(id), false);
    p.SecondaryID = secondary;
    p.SetValue(value);
    return p;
}

CProperty Text(int id, const std::string& value) {
    CProperty p(static_cast<_PROPERTY_ID>(id), false);
    p.SetValue(value);
    return p;
}

CObject Drive(unsigned long long id, int state) {
    CObject o(id, OBJECT_TYPE_PHYSICAL_DRIVE);
    o.Properties.push_back(Number(PHYSICAL_DRIVE_STATUS, static_cast<unsigned long long>(state)));
    return o;
}

TEST(Lookup, ObjectsAndPropertiesPointIntoTheRecord) {
    COperation op;
    op.AddObject(Drive(7, PD_STATE_OK));
    op.AddObject(CObject(9, OBJECT_TYPE_TASK));
    op.AddObject(Drive(8, PD_STATE_OK));
    op.AddObject(CObject(7, OBJECT_TYPE_FAN)); // a repeated id: the first one counts

    CObject* found = FindObject(op, 7);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found, &op.Objects[0]);
    found->Flag = true; // the record's own element, not a copy
    EXPECT_TRUE(op.Objects[0].Flag);
    EXPECT_EQ(FindObject(op, 10), nullptr);
    EXPECT_EQ(FindObject(COperation(), 0), nullptr);

    const COperation& view = op;
    const std::vector<const CObject*> drives = FindObjectsOfType(view, OBJECT_TYPE_PHYSICAL_DRIVE);
    ASSERT_EQ(drives.size(), 2u);
    EXPECT_EQ(drives[0]->ObjectID, 7u);
    EXPECT_EQ(drives[1]->ObjectID, 8u);
    EXPECT_TRUE(FindObjectsOfType(op, OBJECT_TYPE_BATTERY).empty());
    CTask task; // a holder through its base class
    task.Properties.push_back(Number(TASK_NAME, 1, 0));
    task.Properties.push_back(Number(TASK_NAME, 2, 5));
    EXPECT_EQ(FindProperty(task, TASK_NAME), &task.Properties[0]);
    EXPECT_EQ(FindProperty(task, TASK_NAME, 5), &task.Properties[1]);
    EXPECT_EQ(FindProperty(task, TASK_NAME, 6), nullptr);
    EXPECT_EQ(FindProperty(task, TASK_STATUS), nullptr);

    CMigration migration;
    migration.Properties.push_back(Number(LOGICAL_DRIVE_RAID_LEVEL, 1));
    const CMigration& constant = migration;
    EXPECT_EQ(FindProperty(constant, LOGICAL_DRIVE_RAID_LEVEL), &migration.Properties[0]);
    EXPECT_EQ(FindProperty(constant, LOGICAL_DRIVE_RAID_LEVEL, 1), nullptr);
}

TEST(Health, DriveStatesFollowTheStatusIconAndWhatCannotBeJudgedIsUnknown) {
    EXPECT_EQ(HealthOfDriveState(PD_STATE_REBUILD_1), HEALTH_OK);     // drive_rbld_ok
    EXPECT_EQ(HealthOfDriveState(PD_STATE_MISSING), HEALTH_CRITICAL); // drivemiss_fail
    EXPECT_EQ(HealthOfDriveState(40002), HEALTH_UNKNOWN); // unnamed: an ok icon, no health
    // A rebuilding SSD in power save has no image of its own: the icon table
    // falls back to an ok disk, yet the drive's state is a warning.
    CObject ssd = Drive(1, PD_STATE_REBUILD_WARNING_1);
    ssd.Properties.push_back(Number(PHYSICAL_DRIVE_MEDIA_TYPE, MEDIA_TYPE_SSD));
    ssd.Properties.push_back(Number(PHYSICAL_DRIVE_POWER_STATUS, POWER_STATE_POWER_SAVE));
    EXPECT_EQ(GetObjectHealth(ssd), HEALTH_WARNING);
    // The state as the value of a selection.
    CObject listed(2, OBJECT_TYPE_PHYSICAL_DRIVE);
    listed.Properties.push_back(CProperty(PHYSICAL_DRIVE_STATUS, false));
    std::vector<int> choices = {PD_STATE_OK, PD_STATE_FAILED};
    listed.Properties[0].SetValue(PD_STATE_FAILED, choices);
    EXPECT_EQ(GetObjectHealth(listed), HEALTH_CRITICAL);
    EXPECT_EQ(GetObjectHealth(CObject(1, OBJECT_TYPE_PHYSICAL_DRIVE)), HEALTH_UNKNOWN);
    CObject fan(2, OBJECT_TYPE_FAN); // no status property of its kind
    fan.Properties.push_back(Text(ADAPTER_STATUS, "Failed"));
    EXPECT_EQ(GetObjectHealth(fan), HEALTH_UNKNOWN);
    // A block that does not fit its kind, as only direct field writes make.
    CObject broken = Drive(3, PD_STATE_FAILED);
    broken.Properties[0].DataSize = 4;
    EXPECT_EQ(GetObjectHealth(broken), HEALTH_UNKNOWN);
    CProperty empty(LOGICAL_DRIVE_STATUS, false);
    empty.Type = VT_STRING; // a kind without a block
    EXPECT_EQ(HealthOfProperty(empty), HEALTH_UNKNOWN);
    EXPECT_EQ(HealthOfProperty(Number(PHYSICAL_DRIVE_STATUS, 0x100000000ull + PD_STATE_FAILED)),
              HEALTH_UNKNOWN);
    EXPECT_STREQ(HealthName(static_cast<_HEALTH>(7)), "unknown");
}

TEST(Health, StatusTextsMatchTrimmedIgnoringCaseInAReplaceableTable) {
    EXPECT_EQ(HealthOfStateText("  partially DEGRADED\t\n"), HEALTH_WARNING);
    for (const std::string& text : {std::string("Partially"), std::string("Degraded!"),
                                    std::string("Opti mal"), std::string("Failed\0x", 8)})
        EXPECT_EQ(HealthOfStateText(text), HEALTH_UNKNOWN) << text;
    CLogicalDrive ld;
    ld.Properties.push_back(Text(LOGICAL_DRIVE_STATUS, "Degraded"));
    EXPECT_EQ(GetLogicalDriveHealth(ld), HEALTH_WARNING);
    CObject adapter(1, OBJECT_TYPE_ADAPTER_5);
    adapter.Properties.push_back(Text(ADAPTER_STATUS, "Optimal"));
    EXPECT_EQ(GetObjectHealth(adapter), HEALTH_OK);
    EXPECT_FALSE(SetHealthWords({{"Ready", HEALTH_OK}, {" READY ", HEALTH_CRITICAL}}));
    EXPECT_FALSE(SetHealthWords({{"Ready", HEALTH_OK}, {" \t", HEALTH_OK}}));
    EXPECT_FALSE(SetHealthWords({{"Ready", HEALTH_UNKNOWN}}));
    EXPECT_EQ(HealthOfStateText("Ready"), HEALTH_UNKNOWN);
    ASSERT_TRUE(SetHealthWords({{" Ready ", HEALTH_OK}, {"Gone", HEALTH_CRITICAL}}));
    EXPECT_EQ(HealthOfStateText("ready"), HEALTH_OK);
    EXPECT_EQ(HealthOfStateText("Optimal"), HEALTH_UNKNOWN); // the old words are gone
    ResetHealthWords();
    EXPECT_EQ(HealthOfStateText("Optimal"), HEALTH_OK);
    EXPECT_EQ(HealthOfStateText("Ready"), HEALTH_UNKNOWN);
}

// Judging while the table is replaced: every judgement sees one whole table
// (under the sanitizers, a table freed under a reader shows here).
TEST(Health, JudgingWhileTheTableIsReplaced) {
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::thread judge([&] {
        while (!stop) {
            const _HEALTH h = HealthOfStateText("Degraded");
            if (h != HEALTH_WARNING && h != HEALTH_CRITICAL)
                ++wrong;
        }
    });
    for (int i = 0; i < 2000; ++i) {
        if (i % 2 == 0)
            SetHealthWords({{"Degraded", HEALTH_CRITICAL}, {"x" + std::to_string(i), HEALTH_OK}});
        else
            ResetHealthWords();
    }
    stop = true;
    judge.join();
    ResetHealthWords();
    EXPECT_EQ(wrong, 0);
}

} // namespace
