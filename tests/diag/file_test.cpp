// File sink: it does nothing.
#include "qor_file.h"

#include "test_platform.hpp"

using FileTest = qor::test::PlatformTest;

TEST_F(FileTest, IsInert) {
    QOR_FILE_CFG_S cfg{0x100000005, 6, 0x700000007, 8};
    QOR_FILE_S *file = QOR_FILE_Init(&cfg);
    EXPECT_TRUE(host.allocations.back().size == 512 && host.allocations.back().sid == cfg.ulSid);
    for (const auto operation : {QOR_FILE_CloseFile, QOR_FILE_CreateNewFile, QOR_FILE_OpenFile})
        EXPECT_EQ(operation(file), QOR_OK);
    QOR_FILE_SetFileName(file, "name");
    QOR_FILE_Output(file, "%s %d\n", "text", 1);
    QOR_FILE_PutFile(file, "data");
    for (const uint64_t mode : {UINT64_C(0x900000009), UINT64_C(0)})
        QOR_FILE_SetWorkMode(file, mode);
    cfg.ulWorkMode = 0x900000009;
    const QOR_FILE_S told{cfg, file->pcFileBuf, {}};
    EXPECT_EQ(HOST_MemCmp(file, &told, sizeof told), 0);
    EXPECT_TRUE(host.asserts.size() == 1 && host.lines.empty());
    QOR_FILE_DeInit(file);
}
