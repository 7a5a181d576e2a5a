// Null handles and pointers at every function.
#include "tests/devcmd/controller_fixture.h"

namespace {

struct NullRow {
    const char* name;
    int (*call)(_KelDevHandle*);
    int result;
};

unsigned char* Buffer()
{
    static unsigned char buffer[16];
    return buffer;
}

constexpr int kUnsupported = static_cast<int>(0x80000003);
_FACE_CMD g_faces;
_FacePositionList g_positions;
unsigned short g_register;
unsigned g_options;
int g_position;

const NullRow kNullHandles[] = {
    {"KelXU_XuCmd", [](_KelDevHandle* d) { return KelXU_XuCmd(d, Buffer(), 1, 8, 1); },
     kUnsupported},
    {"KelIspCmdSet", [](_KelDevHandle* d) { return KelIspCmdSet(d, Buffer()); }, -1},
    {"KelIspCmdGetResult", [](_KelDevHandle* d) { return KelIspCmdGetResult(d, Buffer(), 1); },
     -1},
    {"KelMMPCmdSet16", [](_KelDevHandle* d) { return KelMMPCmdSet16(d, Buffer()); }, -1},
    {"KelMMPCmdGetResult16", [](_KelDevHandle* d) { return KelMMPCmdGetResult16(d, Buffer()); },
     -1},
    {"SetH264Bitrate", [](_KelDevHandle* d) { return SetH264Bitrate(d, 1); }, -1},
    {"ReadSensorReg", [](_KelDevHandle* d) { return ReadSensorReg(d, 1, &g_register); }, -1},
    {"WriteSensorReg", [](_KelDevHandle* d) { return WriteSensorReg(d, 1, 1); }, -1},
    {"KelXU_GetFWVersion", [](_KelDevHandle* d) { return KelXU_GetFWVersion(d, Buffer()); }, -1},
    {"KelXU_SetVideoOption", [](_KelDevHandle* d) { return KelXU_SetVideoOption(d, 1); }, -1},
    {"KelXU_GetVideoOption", [](_KelDevHandle* d) { return KelXU_GetVideoOption(d, &g_options); },
     -1},
    {"Set_KVR_TV_PreviewParam",
     [](_KelDevHandle* d) { return Set_KVR_TV_PreviewParam(d, 1, 2, 3, 4, 5, 6, 7, 8); }, -1},
    {"GetPTZ_Pos", [](_KelDevHandle* d) { return GetPTZ_Pos(d, 0x9A0908, &g_position); }, -1},
    {"SetPTZ_Pos", [](_KelDevHandle* d) { return SetPTZ_Pos(d, 0x9A0908, 1); }, -1},
    {"SetPTZ_PosOfAnUnknownControl", [](_KelDevHandle* d) { return SetPTZ_Pos(d, 1, 1); }, -1},
    {"SetFD_Param", [](_KelDevHandle* d) { return SetFD_Param(d, &g_faces); }, -1},
    {"GetFD_Position", [](_KelDevHandle* d) { return GetFD_Position(d, &g_positions); }, -1},
};

class NullHandle : public BusTest, public testing::WithParamInterface<NullRow> {};

TEST_P(NullHandle, IsRefusedWithoutATransferOrALine)
{
    EXPECT_EQ(GetParam().call(nullptr), GetParam().result);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Functions, NullHandle, testing::ValuesIn(kNullHandles),
                         [](const auto& row) { return std::string(row.param.name); });

const NullRow kNullPointers[] = {
    {"KelXU_XuCmd", [](_KelDevHandle* d) { return KelXU_XuCmd(d, nullptr, 1, 8, 1); },
     kUnsupported},
    {"KelIspCmdSet", [](_KelDevHandle* d) { return KelIspCmdSet(d, nullptr); }, -1},
    {"KelIspCmdGetResult", [](_KelDevHandle* d) { return KelIspCmdGetResult(d, nullptr, 1); }, -1},
    {"KelMMPCmdSet16", [](_KelDevHandle* d) { return KelMMPCmdSet16(d, nullptr); }, -1},
    {"KelMMPCmdGetResult16", [](_KelDevHandle* d) { return KelMMPCmdGetResult16(d, nullptr); },
     -1},
    {"ReadSensorReg", [](_KelDevHandle* d) { return ReadSensorReg(d, 1, nullptr); }, -1},
    {"KelXU_GetFWVersion", [](_KelDevHandle* d) { return KelXU_GetFWVersion(d, nullptr); }, -1},
    {"KelXU_GetVideoOption", [](_KelDevHandle* d) { return KelXU_GetVideoOption(d, nullptr); },
     -1},
    {"GetPTZ_Pos", [](_KelDevHandle* d) { return GetPTZ_Pos(d, 0x9A0908, nullptr); }, -1},
    {"SetFD_Param", [](_KelDevHandle* d) { return SetFD_Param(d, nullptr); }, -1},
    {"GetFD_Position", [](_KelDevHandle* d) { return GetFD_Position(d, nullptr); }, -1},
};

class NullPointer : public ControllerTest, public testing::WithParamInterface<NullRow> {};

TEST_P(NullPointer, IsRefusedWithoutATransfer)
{
    EXPECT_EQ(GetParam().call(m_device), GetParam().result);
    EXPECT_THAT(Calls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Functions, NullPointer, testing::ValuesIn(kNullPointers),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(NullList, HasNoDevice)
{
    EXPECT_EQ(FindKelDevice(nullptr, 1, 2), nullptr);
}

}  // namespace
