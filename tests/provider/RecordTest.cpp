// Records made by hand: who finds, keeps, loses and frees what. And the small helpers on texts and values.
#include "tests/provider/Linked.h"

#include <cstring>
#include <memory>

using namespace support;

namespace {

struct FreeControllerRecord {
    void operator()(RaidController_t *ctrl) const { FreeController(ctrl); }
};
using ControllerRecord = std::unique_ptr<RaidController_t, FreeControllerRecord>;

ControllerRecord Controller(const char *id) {
    ControllerRecord ctrl(NewController());
    ctrl->DeviceID = strdup(id);
    ctrl->Model = strdup("R8i");
    return ctrl;
}

// A record with one text in it, listed unless there is no list.
template <class Record> Record *New(List_t *list, char *Record::*text, const char *value) {
    auto *record = static_cast<Record *>(calloc(1, sizeof(Record)));
    if (value != nullptr) record->*text = strdup(value);
    if (list != nullptr) AddEntryAtListTail(list, record);
    return record;
}

StoragePool_t *NewPool(RaidController_t *ctrl, const char *id) {
    StoragePool_t *pool = New(ctrl->PoolList, &StoragePool_t::InstanceID, id);
    pool->Drives = &pool->_Drives;
    pool->PoolID = strdup(id);
    return pool;
}

DiskDrive_t *NewDisk(RaidController_t *ctrl, const char *id, const char *pool) {
    DiskDrive_t *disk = New(ctrl->DiskList, &DiskDrive_t::DeviceID, id);
    disk->Name = strdup((std::string("name-") + id).c_str());
    if (pool != nullptr) disk->Pool = strdup(pool);
    return disk;
}

std::string Drives(const StoragePool_t *pool) {
    std::string drives;
    for (const char *member : Each<char>(pool->Drives)) drives += std::string(drives.empty() ? "" : ",") + member;
    return drives;
}

} // namespace

TEST(Records, AreFreedWithAnySubsetOfTheirFieldsAndNameThemselves) {
    for (const auto release : {FreeVolume, FreeDisk, FreePort, FreeBattery, FreePool, FreeChassis, FreeController})
        release(nullptr);
    LogCapture::Clear();
    FreeVolume(New<StorageVolume_t>(nullptr, &StorageVolume_t::Name, "n"));
    FreeVolume(New<StorageVolume_t>(nullptr, &StorageVolume_t::ElementName, "e"));
    FreeDisk(New<DiskDrive_t>(nullptr, &DiskDrive_t::Name, "d"));
    FreeDisk(New<DiskDrive_t>(nullptr, &DiskDrive_t::Pool, "p"));
    FreePort(New<SASSATAPort_t>(nullptr, &SASSATAPort_t::PortName, "p"));
    FreeBattery(New<Battery_t>(nullptr, &Battery_t::DeviceID, "b"));
    FreePool(New<StoragePool_t>(nullptr, &StoragePool_t::PoolID, "q"));
    FreeChassis(New<Chassis_t>(nullptr, &Chassis_t::Tag, "t"));
    FreeController(calloc(1, sizeof(RaidController_t)));
    const std::vector<std::string> expected = {"Volume n (NULL) deleted\n",
                                               "Volume NULL (e) deleted\n",
                                               "d deleted\n",
                                               "NULL deleted\n",
                                               "p deleted\n",
                                               "Battery b deleted\n",
                                               "Pool q deleted\n",
                                               "Chassis t deleted\n",
                                               "Controller NULL (NULL) deleted\n"};
    EXPECT_EQ(LogCapture::Texts("*deleted\n", LOG_DEBUG), expected);
}

TEST(Records, OfAControllerGoBeforeItVolumesFirstAndChassisLast) {
    ControllerRecord ctrl = Controller("c0");
    NewPool(ctrl.get(), "p");
    NewDisk(ctrl.get(), "d", "p");
    New(ctrl->VolumeList, &StorageVolume_t::Name, "v");
    New(ctrl->PortList, &SASSATAPort_t::PortName, "port");
    New(ctrl->BatteryList, &Battery_t::DeviceID, "b");
    New(ctrl->ChassisList, &Chassis_t::Tag, "t");
    LogCapture::Clear();
    ctrl.reset();
    const std::vector<std::string> expected = {"Volume v (NULL) deleted\n",
                                               "name-d deleted\n",
                                               "Pool p deleted\n",
                                               "port deleted\n",
                                               "Battery b deleted\n",
                                               "Chassis t deleted\n",
                                               "Controller R8i (c0) deleted\n"};
    EXPECT_EQ(LogCapture::Texts("*deleted\n", LOG_DEBUG), expected);
}

TEST(Removers, TakeOutOnlyWhatTheirControllerLists) {
    ControllerRecord ctrl = Controller("c0"), other = Controller("c1");
    const struct {
        int (*remove)(RaidController_t *, void *);
        void *record;
        List_t *list;
    } kinds[] = {
        {DeleteVolume, New(ctrl->VolumeList, &StorageVolume_t::Name, "v"), ctrl->VolumeList},
        {DeleteDisk, NewDisk(ctrl.get(), "d", nullptr), ctrl->DiskList},
        {DeletePort, New(ctrl->PortList, &SASSATAPort_t::PortName, "p"), ctrl->PortList},
        {DeleteBattery, New(ctrl->BatteryList, &Battery_t::DeviceID, "b"), ctrl->BatteryList},
        {DeletePool, NewPool(ctrl.get(), "pool"), ctrl->PoolList},
        {DeleteChassis, New(ctrl->ChassisList, &Chassis_t::Tag, "t"), ctrl->ChassisList},
    };
    for (const auto &kind : kinds) {
        LogCapture::Clear();
        EXPECT_EQ(kind.remove(ctrl.get(), nullptr), -1);
        EXPECT_EQ(kind.remove(other.get(), kind.record), -3);
        EXPECT_EQ(kind.list->Size, 1u);
        EXPECT_TRUE(NotLogged(LOG_DEBUG, "*deleted\n"));
        EXPECT_EQ(kind.remove(ctrl.get(), kind.record), 0);
        EXPECT_EQ(kind.list->Size, 0u);
        EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "*deleted\n"));
    }
}

TEST(Removers, OfADiskTakeItOutOfItsPoolWhenThatIsThere) {
    ControllerRecord ctrl = Controller("c0");
    StoragePool_t *pool = NewPool(ctrl.get(), "p");
    DiskDrive_t *member = NewDisk(ctrl.get(), "d", "p"), *stray = NewDisk(ctrl.get(), "s", "gone");
    AddDiskToPool(pool, "d");
    LogCapture::Clear();
    EXPECT_EQ(DeleteDisk(ctrl.get(), member), 0);
    EXPECT_EQ(Drives(pool), "");
    EXPECT_EQ(ctrl->PoolList->Size, 1u);
    EXPECT_TRUE(LoggedInOrder(
        {"name-d removed from controller c0(R8i)\n", "name-d removed from pool p\n", "name-d deleted\n"}));
    LogCapture::Clear();
    EXPECT_EQ(DeleteDisk(ctrl.get(), stray), 0);
    EXPECT_TRUE(LoggedTimes(1, LOG_INFO, "FindStoragePoolByID: can not find pool gone in list *\n"));
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "*removed from pool*"));
    EXPECT_EQ(ctrl->DiskList->Size, 0u);
}

TEST(LookUps, ReturnTheFirstRecordWithExactlyThatKey) {
    ControllerRecord ctrl = Controller("c0");
    Chassis_t *first = New(ctrl->ChassisList, &Chassis_t::Tag, "t1"),
              *second = New(ctrl->ChassisList, &Chassis_t::Tag, "t2");
    New(ctrl->ChassisList, &Chassis_t::Tag, "t2");
    LogCapture::Clear();
    EXPECT_EQ(FindChassisByTag(ctrl.get(), "t2"), second);
    EXPECT_TRUE(LoggedTimes(2, LOG_DEBUG, "FindChassisByTag: checking chassis * (tag: t*)\n"));
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "FindChassisByTag: found chassis * with t2 in list *\n"));
    EXPECT_EQ(FindChassisByTag(ctrl.get(), "t1"), first);
    LogCapture::Clear();
    EXPECT_EQ(FindChassisByTag(ctrl.get(), nullptr), nullptr);
    EXPECT_TRUE(LogCapture::Lines().empty());
    for (const char *unknown : {"T1", "t", "t11", ""}) EXPECT_EQ(FindChassisByTag(ctrl.get(), unknown), nullptr);
    EXPECT_TRUE(LoggedTimes(4, LOG_INFO, "FindChassisByTag: can not find chassis * in list *\n"));

    NewDisk(ctrl.get(), "d", nullptr);
    EXPECT_STREQ(FindDiskByDeviceID(ctrl.get(), "d")->DeviceID, "d");
    EXPECT_EQ(FindDiskByDeviceID(ctrl.get(), "D"), nullptr);
    EXPECT_TRUE(Logged(LOG_INFO, "FindDiskByDeviceID: can not find disk D in list *\n"));
    EXPECT_EQ(FindStoragePoolByID(ctrl.get(), "p"), nullptr);
}

TEST(LookUps, InALongListFollowItThroughEveryChange) {
    constexpr int kListed = 100;
    ControllerRecord ctrl = Controller("c0");
    const auto id = [](int i) { return "d" + std::to_string(i); };
    const auto find = [&](const std::string &wanted) { return FindDiskByDeviceID(ctrl.get(), wanted.c_str()); };
    std::vector<DiskDrive_t *> disks;
    for (int i = 0; i < kListed; ++i) {
        disks.push_back(NewDisk(ctrl.get(), id(i).c_str(), nullptr));
        if (i % 10 == 0) NewDisk(ctrl.get(), id(i).c_str(), nullptr); // a double behind the first
        EXPECT_EQ(find(id(i)), disks.back()) << i;
        EXPECT_EQ(find(id(i + 1)), nullptr) << i;
    }
    New<DiskDrive_t>(ctrl->DiskList, &DiskDrive_t::Name, "without an ID");
    for (int i = 0; i < kListed; ++i) EXPECT_EQ(find(id(i)), disks[static_cast<std::size_t>(i)]) << i;
    for (int i = 0; i < kListed; ++i) {
        EXPECT_EQ(DeleteDisk(ctrl.get(), disks[static_cast<std::size_t>(i)]), RESULT_OK);
        const DiskDrive_t *left = find(id(i));
        if (i % 10 == 0)
            EXPECT_STREQ(left->DeviceID, id(i).c_str());
        else
            EXPECT_EQ(left, nullptr) << i;
    }
    // The trace tells of the walk that the look-up stands for.
    LogCapture::Clear();
    EXPECT_NE(find(id(90)), nullptr);
    EXPECT_TRUE(LoggedTimes(10, LOG_DEBUG, "FindDiskByDeviceID: checking disk * (ID: d*0)\n"));
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "FindDiskByDeviceID: found disk * with d90 in list *\n"));
}

TEST(PoolMembership, KeepsEachDiskOnceInOrderOfAddition) {
    ControllerRecord ctrl = Controller("c0");
    StoragePool_t *pool = NewPool(ctrl.get(), "p");
    for (const char *disk : {"b", "a", "b", "c", "a"}) AddDiskToPool(pool, disk);
    EXPECT_EQ(Drives(pool), "b,a,c");
    RemoveDiskFromPool(pool, "x");
    EXPECT_EQ(Drives(pool), "b,a,c");
    RemoveDiskFromPool(pool, "a");
    EXPECT_EQ(Drives(pool), "b,c");
    AddDiskToPool(nullptr, "a");
    AddDiskToPool(pool, nullptr);
    RemoveDiskFromPool(nullptr, "a");
    RemoveDiskFromPool(pool, nullptr);
    EXPECT_EQ(Drives(pool), "b,c");
}

TEST(Helpers, CopyAndCompareTexts) {
    EXPECT_EQ(StringClone(nullptr), nullptr);
    const HeapText empty(StringClone("")), copy(StringClone("abc"));
    EXPECT_STREQ(empty.get(), "");
    EXPECT_STREQ(copy.get(), "abc");

    LinkedBench bench(OneController());
    const Invocation call(bench);
    const CMPIBroker *broker = bench.Broker().Handle();
    const CMPIString *text = broker->eft->newString(broker, "zembra_quarnelBATTERY", nullptr);
    EXPECT_EQ(CMStringCmp(text, kBattery), 0);
    EXPECT_GT(CMStringCmp(text, "Alpha"), 0);
    EXPECT_LT(CMStringCmp(text, "zz"), 0);
    EXPECT_NE(CMStringCmp(nullptr, kBattery), 0);
}

TEST(HostIdentity, IsReadOnceAndForgottenOnRelease) {
    LinkedBench bench(OneController());
    bench.Start();
    const std::string name = GetSystemName();
    EXPECT_FALSE(name.empty());
    EXPECT_STREQ(GetSystemClassName(), "OMC_UnitaryComputerSystem");
    EXPECT_NE(GetHostName(), nullptr);

    const Invocation call(bench);
    bench.Broker().LogCalls(true);
    EXPECT_EQ(InitSystemInfo(nullptr, call.Context()), 0);
    EXPECT_TRUE(bench.Upcalls().empty());
    ReleaseSystemInfo();
    EXPECT_EQ(GetSystemName(), nullptr);
    EXPECT_EQ(GetHostName(), nullptr);
    EXPECT_EQ(GetSystemClassName(), nullptr);
    EXPECT_EQ(InitSystemInfo(nullptr, call.Context()), 0);
    EXPECT_EQ(GetSystemName(), name);
    EXPECT_EQ(bench.Upcalls(), std::vector<std::string>{"enumerateInstances OMC_UnitaryComputerSystem"});
}
