#include "mpp/code/mpi/src/mpi_vb/vb_record.h"
#include "mpp/code/mpi/src/sys_record.h"
#include "tests/mpp/mpp_fixture.h"

namespace {

using namespace driverCommand;

// Commands that no test sends by name: the library's values and the drivers' are the same.
static_assert(VB_CMD_POOL_INFO == vbPoolInfo && VB_CMD_POOL_USE == vbPoolUse &&
              VB_CMD_RELEASE_BLOCK == vbReleaseBlock && VB_CMD_SET_CONFIG == vbSetConfig &&
              SYS_CMD_SET_CONFIG == sysSetConfig);

class VbTest : public testing::Test {
protected:
    VbTest() {
        device().reset();
        EXPECT_EQ(0, HI_MPI_VB_Init());
        EXPECT_EQ(pool, HI_MPI_VB_CreatePool(4096, 16, "a zone whose name is too long"));
    }
    ~VbTest() override {
        device().reset();
        errorsOf([] {
            HI_MPI_VB_MunmapPool(pool);
            HI_MPI_VB_Exit();
        });
        EXPECT_EQ(0U, device().held().mappings);
    }

    static constexpr std::uint32_t pool = 0; // of 64 KiB
};

TEST_F(VbTest, MapsAPoolOnce) {
    const std::uint32_t block = HI_MPI_VB_GetBlock(pool, 0, nullptr);
    const std::uint32_t phys = HI_MPI_VB_BlockToPhysAddr(block);
    void *virt = nullptr;
    const auto find = [&](std::uint32_t place) {
        return [&virt, place] { return HI_MPI_VB_GetBlkVirAddr(pool, place, &virt); };
    };
    const auto map = [] { return HI_MPI_VB_MmapPool(pool); };
    const auto unmap = [] { return HI_MPI_VB_MunmapPool(pool); };
    expectOutcomes({{0, "", map},
                    {0, "Pool 0 has mapped!\n", map},
                    {0xA0018003, "Pool 0 doesn't hold phys addr 0x80010001!\n", find(0x80010001)},
                    {0xA0018003, "Pool 0 doesn't hold phys addr 0x7fffffff!\n", find(phys - 1)},
                    {0, "", find(phys + 0x10000)}, // its end
                    {0, "", find(phys + 0x1234)},
                    {0xA0018012, "Vb pool 0  is used by some modules!\n", unmap}});
    EXPECT_EQ(0x234U, reinterpret_cast<std::uintptr_t>(virt) & 0xFFF);
    EXPECT_EQ(0, HI_MPI_VB_ReleaseBlock(block));
    expectOutcomes(
        {{0, "", unmap},
         {0, "Pool 0 hasn't mapped!\n", unmap},
         {0xA0018010, "Pool 0 hasn't mapped!\n", find(phys)},
         {0xA0018003, "Illegal poolid 256!\n", [] { return HI_MPI_VB_MmapPool(256); }},
         {0xA0018003, "Get vb pool 1's info failed!\n", [] { return HI_MPI_VB_MmapPool(1); }}});
    device().failingMemory = 1;
    const std::string reports = messages([&] { EXPECT_EQ(err(0xA001800C), map()); });
    EXPECT_TRUE(reports.ends_with("Get vb pool 0' mmap user addr failed!\n"));
}

TEST_F(VbTest, ExchangesTheConfiguration) {
    VB_CONF_S config = {};
    config.astCommPool[15] = {4096, 2, {}};
    std::memset(config.astCommPool[15].acMmzName, 'z', 16);
    expectOutcome(0xA0018003, "out: mmz name len:16,it's too long\n",
                  [&] { return HI_MPI_VB_SetConfig(&config); });
    config.astCommPool[15].u32BlkCnt = 0; // not used, so not looked at
    EXPECT_EQ(0, HI_MPI_VB_SetConfig(&config));
    VB_CONF_S kept = {};
    EXPECT_EQ(0, HI_MPI_VB_GetConfig(&kept));
    EXPECT_EQ(0, std::memcmp(&config, &kept, sizeof config));
}

TEST_F(VbTest, HandsOutPoolsAndBlocks) {
    struct Record {
        std::array<std::uint32_t, 5> words;
        char zone[16];
    };
    const auto created = device().sent<Record>(vbCreatePool);
    EXPECT_EQ((std::array{UINT32_MAX, 4096U, 16U, UINT32_MAX, 0U}), created.words);
    EXPECT_STREQ("a zone whose na", created.zone);
    const std::uint32_t larger = HI_MPI_VB_CreatePool(8192, 2, nullptr);
    const std::uint32_t first = HI_MPI_VB_GetBlock(larger, 100, "zone"); // of any size
    const std::uint32_t second = HI_MPI_VB_GetBlock(VB_INVALID_POOL, 5000, "zone");
    EXPECT_EQ(larger, HI_MPI_VB_BlockToPool(second));
    EXPECT_EQ(HI_MPI_VB_BlockToPhysAddr(first) + 8192, HI_MPI_VB_BlockToPhysAddr(second));
    EXPECT_EQ(UINT32_MAX, HI_MPI_VB_GetBlock(larger, 0, nullptr)); // there were two
    const auto ofPool = device().sent<Record>(vbGetBlock);
    EXPECT_EQ((std::array{larger, 0U, 0U, UINT32_MAX, 0U}), ofPool.words);
    const auto ofAny = device().sent<Record>(vbGetBlock, 1);
    EXPECT_EQ((std::array{UINT32_MAX, 5000U, 0U, UINT32_MAX, 1U}), ofAny.words);
    EXPECT_STREQ("zone", ofAny.zone);
    EXPECT_EQ((Commands{vbInit, vbCreatePool, vbCreatePool, vbGetBlock, vbGetBlock, vbBlockToPool,
                        vbBlockToPhys, vbBlockToPhys, vbGetBlock}),
              device().commands());
    std::uint32_t left[2] = {larger};
    EXPECT_EQ(0, HI_MPI_VB_ReleaseBlock(first));
    EXPECT_EQ(0, HI_MPI_VB_Query(left));
    EXPECT_EQ(1U, left[1]);
    EXPECT_EQ(err(0xA0018012), HI_MPI_VB_DestroyPool(larger)); // a block is in use
    EXPECT_EQ(0, HI_MPI_VB_ReleaseBlock(second));
    EXPECT_EQ(0, HI_MPI_VB_DestroyPool(larger));
    EXPECT_EQ(0U, HI_MPI_VB_BlockToPhysAddr(second));
    EXPECT_EQ(vbDestroyPool, device().commands()[13]);
    EXPECT_EQ(0, HI_MPI_VB_InitUserPools(22));
    EXPECT_EQ(vbInitUser, device().commands().back());
    EXPECT_EQ(1U << 22, device().board().vb.userPools);
    EXPECT_EQ(0, HI_MPI_VB_ExitUserPools(22));
    expectOutcome(0xA0018003, "Illegal user id 23!\n", [] { return HI_MPI_VB_InitUserPools(23); });
}

TEST_F(VbTest, TellsWhyItDoesNotStart) {
    EXPECT_EQ(0, HI_MPI_VB_Exit());
    device().openAs("/dev/vb", -1);
    expectOutcome(0xA0018010, "open err\n: No such file or directory\n", HI_MPI_VB_Init);
}

TEST(ZoneTest, AllocatesAoBlocks) {
    device().reset();
    std::uint32_t phys = 0;
    void *virt = nullptr;
    ASSERT_EQ(0, VB_AllocAoBlock("a name of twenty chars", &phys, &virt, 65536));
    const ZoneBlockRegisters &block = device().board().zones.blocks[0];
    EXPECT_EQ(std::pair(65536U, phys), std::pair(block.size, block.phys));
    EXPECT_STREQ("a name of twent", block.name);
    std::memset(virt, 1, 65536);
    EXPECT_EQ(0, VB_FreeAoBlock(phys));
    device().answer(mmzMap, 0); // says that it has mapped, and has not
    device().answer(mmzUnmap, 0);
    EXPECT_EQ(-1, VB_AllocAoBlock("x", &phys, &virt, 100));
    EXPECT_EQ((Commands{mmzAlloc, mmzMap, mmzUnmap, mmzFree, mmzAlloc, mmzMap, mmzUnmap, mmzFree}),
              device().commands());
    EXPECT_EQ(0U, device().held().blocks);
}

TEST(ZoneTest, AllocatesSystemBlocks) {
    std::uint32_t phys = 0;
    std::uint32_t cached = 0;
    void *virt = nullptr;
    const auto allocateAndFree = [&] {
        const std::int32_t result = HI_MPI_SYS_AllocBlock(&phys, &virt, "name", "zone", 4096);
        return result != 0 ? result : HI_MPI_SYS_FreeBlock(phys);
    };
    for (const auto &[command, verb] : {std::pair(mmzAlloc, "alloc"),
                                        {mmzMap, "remap"},
                                        {mmzUnmap, "unmap"},
                                        {mmzFree, "free"}}) {
        device().reset();
        device().answer(command, 6);
        expectOutcome(6, "System " + std::string(verb) + " mmz memory failed!\n", allocateAndFree);
        device().takeBlocksBack();
    }
    device().reset();
    device().answer(mmzMap, 0);
    expectOutcome(0xA002800C, "System remap mmz memory failed!\n", allocateAndFree);
    device().reset();
    EXPECT_EQ(0, allocateAndFree());
    EXPECT_EQ(0U, device().held().blocks);
    for (const bool isCached : {false, true}) {
        device().clearCalls();
        const auto allocate = isCached ? HI_MPI_SYS_AllocBlockCached : HI_MPI_SYS_AllocBlock;
        ASSERT_EQ(0, allocate(&phys, &virt, "name", "zone", 4096));
        EXPECT_STREQ("zone", device().board().zones.blocks[0].zone);
        std::uint32_t found = 0;
        EXPECT_EQ(0, HI_MPI_SYS_LookUpBlock(static_cast<char *>(virt) + 16, &found, &cached));
        EXPECT_EQ(phys + 16, found);
        EXPECT_EQ(isCached ? 1U : 0U, cached);
        EXPECT_EQ(0, HI_MPI_SYS_FlushBlock(phys, virt, 64));
        EXPECT_EQ(0, HI_MPI_SYS_FlushBlock(0, nullptr, 0)); // all that is cached
        EXPECT_EQ((Commands{mmzAlloc, isCached ? mmzMapCached : mmzMap, mmzLookUp, mmzFlushRange,
                            mmzFlushAll}),
                  device().commands());
        EXPECT_EQ(0, HI_MPI_SYS_FreeBlock(phys));
    }
}

} // namespace
