#include "tests/mpp/mpp_fixture.h"

namespace {

class VbTest : public testing::Test {
protected:
    VbTest() {
        device().reset();
        EXPECT_EQ(0, HI_MPI_VB_Init());
        device().clearCalls();
        device().answerWords(0xC010420B, {3, 0x10000, 0x82000000}); // a pool of 64 KiB
        device().answerWords(useCommand, {0});
    }
    ~VbTest() override {
        device().reset();
        errorsOf([] {
            HI_MPI_VB_MunmapPool(3);
            HI_MPI_VB_Exit();
        });
        EXPECT_EQ(0U, device().held().mappings);
    }

    static constexpr std::uint32_t useCommand = 0xC004420C;
};

TEST_F(VbTest, MapsAPoolOnce) {
    void *virt = nullptr;
    const auto find = [&](std::uint32_t phys) {
        return [&virt, phys] { return HI_MPI_VB_GetBlkVirAddr(3, phys, &virt); };
    };
    const auto map = [] { return HI_MPI_VB_MmapPool(3); };
    const auto unmap = [] { return HI_MPI_VB_MunmapPool(3); };
    expectOutcomes({{0, "", map},
                    {0, "Pool 3 has mapped!\n", map},
                    {0xA0018003, "Pool 3 doesn't hold phys addr 0x82010001!\n", find(0x82010001)},
                    {0xA0018003, "Pool 3 doesn't hold phys addr 0x81ffffff!\n", find(0x81FFFFFF)},
                    {0, "", find(0x82010000)}, // its end
                    {0, "", find(0x82001234)}});
    EXPECT_EQ(0x234U, reinterpret_cast<std::uintptr_t>(virt) & 0xFFF);
    device().answerWords(useCommand, {2});
    expectOutcomes({{0xA0018012, "Vb pool 3  is used by some modules!\n", unmap}});
    device().answerWords(useCommand, {0});
    expectOutcomes({{0, "", unmap},
                    {0, "Pool 3 hasn't mapped!\n", unmap},
                    {0xA0018010, "Pool 3 hasn't mapped!\n", find(0x82000000)},
                    {0xA0018003, "Illegal poolid 256!\n", [] { return HI_MPI_VB_MmapPool(256); }}});
    device().failingMemory = 1;
    const std::string reports = messages([&] { EXPECT_EQ(err(0xA001800C), map()); });
    EXPECT_TRUE(reports.ends_with("Get vb pool 3' mmap user addr failed!\n"));
    device().answer(0xC010420B, 8);
    expectOutcomes({{8, "Get vb pool 3's info failed!\n", map}});
}

TEST_F(VbTest, ExchangesTheConfiguration) {
    VB_CONF_S config = {};
    EXPECT_EQ(0, HI_MPI_VB_GetConfig(&config));
    config.astCommPool[15] = {4096, 2, {}};
    std::memset(config.astCommPool[15].acMmzName, 'z', 16);
    expectOutcomes({{0xA0018003, "out: mmz name len:16,it's too long\n",
                     [&] { return HI_MPI_VB_SetConfig(&config); }}});
    config.astCommPool[15].u32BlkCnt = 0; // not used, so not looked at
    EXPECT_EQ(0, HI_MPI_VB_SetConfig(&config));
    EXPECT_EQ(388U, device().callsOf(0x4184420A).at(0).record.size());
}

TEST_F(VbTest, HandsOutPoolsAndBlocks) {
    device().answerWords(0xC0244203, {0, 0, 0, 77});
    EXPECT_EQ(UINT32_MAX, HI_MPI_VB_CreatePool(4096, 4, "a zone whose name is too long"));
    EXPECT_EQ(77U, HI_MPI_VB_GetBlock(9, 100, "zone"));
    EXPECT_EQ(77U, HI_MPI_VB_GetBlock(VB_INVALID_POOL, 100, "zone"));
    EXPECT_EQ(0, HI_MPI_VB_ReleaseBlock(77));
    EXPECT_EQ(77U, HI_MPI_VB_BlockToPhysAddr(77));
    EXPECT_EQ(77U, HI_MPI_VB_BlockToPool(77));
    EXPECT_EQ(0, HI_MPI_VB_InitUserPools(22));
    expectOutcomes(
        {{0xA0018003, "Illegal user id 23!\n", [] { return HI_MPI_VB_InitUserPools(23); }}});
    EXPECT_EQ(0, HI_MPI_VB_DestroyPool(9));
    EXPECT_EQ((Commands{0xC0244201, 0xC0244203, 0xC0244203, 0xC0044204, 0xC0044205, 0xC0044206,
                        0x4004420D, 0xC0044202}),
              device().commands());
    struct Record {
        std::array<std::uint32_t, 5> words;
        char zone[16];
    };
    const auto pool = device().sent<Record>(0xC0244201);
    EXPECT_EQ((std::array{UINT32_MAX, 4096U, 4U, UINT32_MAX, 0U}), pool.words);
    EXPECT_STREQ("a zone whose na", pool.zone);
    const auto ofPool = device().sent<Record>(0xC0244203); // the size is for any pool only
    EXPECT_EQ((std::array{9U, 0U, 0U, UINT32_MAX, 0U}), ofPool.words);
    const auto ofAny = device().sent<Record>(0xC0244203, 1);
    EXPECT_EQ((std::array{UINT32_MAX, 100U, 0U, UINT32_MAX, 1U}), ofAny.words);
    EXPECT_STREQ("zone", ofAny.zone);
}

TEST_F(VbTest, TellsWhyItDoesNotStart) {
    EXPECT_EQ(0, HI_MPI_VB_Exit());
    device().openAs("/dev/vb", -1);
    expectOutcomes({{0xA0018010, "open err\n: No such file or directory\n", HI_MPI_VB_Init}});
}

struct BlockRecord {
    std::uint32_t phys, zero1, size, zero2, virt, mapping;
    char name[16];
    char zone[32];
    std::uint32_t zero3;
};
static_assert(sizeof(BlockRecord) == 76);

TEST(ZoneTest, AllocatesAoBlocks) {
    device().reset();
    std::uint32_t phys = 0;
    void *virt = nullptr;
    ASSERT_EQ(0, VB_AllocAoBlock("a name of twenty chars", &phys, &virt, 65536));
    const auto record = device().sent<BlockRecord>(0xC04C6D0A);
    EXPECT_EQ(65536U, record.size);
    EXPECT_EQ(0x103U, record.mapping);
    EXPECT_STREQ("a name of twent", record.name);
    std::memset(virt, 1, 65536);
    EXPECT_EQ(0, VB_FreeAoBlock(phys));
    EXPECT_EQ((Commands{0xC04C6D0A, 0xC04C6D14, 0xC04C6D16, 0x404C6D0C}), device().commands());
    EXPECT_EQ(phys, device().sent<BlockRecord>(0xC04C6D16).phys);
    device().answer(0xC04C6D14, 0); // says that it has mapped, and has not
    EXPECT_EQ(-1, VB_AllocAoBlock("x", &phys, &virt, 100));
}

TEST(ZoneTest, AllocatesSystemBlocks) {
    std::uint32_t phys = 0;
    std::uint32_t cached = 0;
    void *virt = nullptr;
    const auto allocateAndFree = [&] {
        const std::int32_t result = HI_MPI_SYS_AllocBlock(&phys, &virt, "name", "zone", 4096);
        return result != 0 ? result : HI_MPI_SYS_FreeBlock(phys);
    };
    for (const auto &[command, message] :
         {std::pair(0xC04C6D0AU, "System alloc mmz memory failed!\n"),
          {0xC04C6D14U, "System remap mmz memory failed!\n"},
          {0xC04C6D16U, "System unmap mmz memory failed!\n"},
          {0x404C6D0CU, "System free mmz memory failed!\n"}}) {
        device().reset();
        device().answer(command, 6);
        expectOutcomes({{6, message, allocateAndFree}});
        device().reset();
        HI_MPI_SYS_FreeBlock(phys);
    }
    device().answer(0xC04C6D14, 0);
    expectOutcomes({{0xA002800C, "System remap mmz memory failed!\n", allocateAndFree}});
    device().reset();
    EXPECT_EQ(0, allocateAndFree());
    EXPECT_STREQ("zone", device().sent<BlockRecord>(0xC04C6D0A).zone);
    device().answerWords(0xC04C6D15, {0x82000000, 0, 0, 0, 0x30000000});
    ASSERT_EQ(0, HI_MPI_SYS_AllocBlockCached(&phys, &virt, "name", nullptr, 4096));
    EXPECT_EQ(reinterpret_cast<void *>(std::uintptr_t{0x30000000}), virt);
    EXPECT_EQ(0, HI_MPI_SYS_FreeBlock(device().sent<BlockRecord>(0xC04C6D15).phys));
    device().answerWords(0xC04C6D17, {0x80001001});
    EXPECT_EQ(0, HI_MPI_SYS_LookUpBlock(virt, &phys, &cached));
    EXPECT_EQ(0x80001000U, phys);
    EXPECT_EQ(1U, cached);
    device().clearCalls();
    EXPECT_EQ(0, HI_MPI_SYS_FlushBlock(phys, virt, 64));
    EXPECT_EQ(0, HI_MPI_SYS_FlushBlock(0, nullptr, 0)); // all that is cached
    EXPECT_EQ((Commands{0x400C6432, 0x00006328}), device().commands());
}

} // namespace
