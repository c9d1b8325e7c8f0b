// NULL arguments of every exported function: each position in turn, then all of them at once, gives
// one report with the source name of the module and the told result, and changes nothing.
#include <array>
#include <cstring>
#include <type_traits>  // IWYU pragma: keep
#include <utility>

#include "qor.h"
#include "test_platform.hpp"

using namespace qor::test;

namespace {

constexpr uint8_t kGuard = 0x5A;

// What pointer arguments point at, one block each. Nothing in them is a usable pointer or context.
struct Guards {
    alignas(8) std::array<std::array<uint8_t, 1024>, 8> block;
    Guards() { std::memset(block.data(), kGuard, sizeof block); }
    bool Intact() const {
        return std::memcmp(block.data(), Guards().block.data(), sizeof block) == 0;
    }
};

template <class T>
T Argument(Guards &guards, size_t i, bool null) {
    if constexpr (std::is_pointer_v<T>)
        return null ? nullptr : reinterpret_cast<T>(guards.block[i].data());
    else
        return static_cast<T>(64);
}

struct Expected {
    const char *source;
    uint32_t result;  // of functions that return a number
};

// optional is a position where NULL is an ordinary argument.
template <class R, class... A>
void Check(Expected expected, R (*function)(A...), size_t optional = SIZE_MAX) {
    constexpr bool isPointer[] = {std::is_pointer_v<A>...};
    Platform &host = Platform::Get();
    for (size_t null = 0; null <= sizeof...(A); ++null) {  // sizeof...(A): all of them
        if (null == optional || (null < sizeof...(A) && !isPointer[null])) continue;
        SCOPED_TRACE("argument " + std::to_string(null));
        Guards guards;
        host.Reset();
        const auto call = [&]<size_t... I>(std::index_sequence<I...>) {
            return function(Argument<A>(guards, I, null == I || null == sizeof...(A))...);
        };
        constexpr auto all = std::index_sequence_for<A...>();
        if constexpr (std::is_void_v<R>)
            call(all);
        else if constexpr (std::is_pointer_v<R>)
            EXPECT_EQ(call(all), nullptr);
        else
            EXPECT_EQ(static_cast<uint32_t>(call(all)), expected.result);
        ASSERT_EQ(host.asserts.size(), 1u);
        EXPECT_EQ(host.asserts[0].file, expected.source);
        EXPECT_TRUE(host.asserts[0].line > 0 && host.asserts[0].zero == 0);
        EXPECT_TRUE(guards.Intact());
        EXPECT_TRUE(host.allocationCalls == 0 && host.lines.empty());
    }
}

template <class... F>
void CheckAll(Expected expected, F... functions) {
    int n = 0;
    const auto check = [&](auto function) {
        SCOPED_TRACE(std::string(expected.source) + ", function " + std::to_string(n++));
        Check(expected, function);
    };
    (check(functions), ...);
}

void DevLog(QOR_LOG_S *log, const char *fmt) { QOR_LOG_DevLog(log, fmt, 0); }
uint32_t WriteString(QOR_MAM_S *mam, uint32_t id, const char *fmt) {
    return QOR_MAM_BlackBoxWriteString(mam, id, fmt, 0);
}

void DbgOutput(QOR_DBG_S *ctx, const char *fmt) { QOR_DBG_Output(ctx, 1, fmt, 0); }
void DbgWriteAndOutput(QOR_DBG_S *ctx) { QOR_DBG_WriteAndOutputBuffer(ctx, 1, 0); }
void DbgWrite(QOR_DBG_S *ctx) { QOR_DBG_WriteBuffer(ctx, 1, 0); }
void FileOutput(QOR_FILE_S *file) { QOR_FILE_Output(file, "%d", 0); }

using ArgumentTest = PlatformTest;

// clang-format off
#define P(name) QOR_LDP_PKT_##name
TEST_F(ArgumentTest, Null) {
    CheckAll({"qor_base", 0}, QOR_IP_IsValidAddr, QOR_IP_IsValidIpv4Addr, QOR_IP_QorIpToSysIp,
        QOR_IP_SysIpToQorIp, QOR_IP_MaskLen2Mask6, QOR_IP_GetIPv6NetAddr);
    CheckAll({"qor_base", UINT32_MAX}, QOR_IP_CompareAddr);
    CheckAll({"qor_base", QOR_ERR_ARG}, QOR_IP_ToString);
    Check({"qor_base", QOR_ERR_ARG}, QOR_IP_ConstructAddr, 1);
    CheckAll({"qor_base", QOR_FAIL}, QOR_IP_SidToString);
    CheckAll({"qor_mam", 0}, QOR_MAM_Init, QOR_MAM_DeInit, QOR_MAM_CompareUlong,
        QOR_MAM_BlackBoxCreate, QOR_MAM_BlackBoxGetBuffer, QOR_MAM_BlackBoxGetSize);
    CheckAll({"qor_mam", QOR_ERR_ARG}, QOR_MAM_BlackBoxDelete, WriteString);
    CheckAll({"qor_log", 0}, QOR_LOG_Init, QOR_LOG_DeInit, DevLog, QOR_LOG_StrTrimRN);
    CheckAll({"qor_systime", QOR_ERR_ARG}, QOR_TIME_GetCpuTickTimeMs, QOR_TIME_GetTickTime,
        QOR_TIME_GetMs2TickTime, QOR_TIME_GetSystimeRelSecCal);
    CheckAll({"qor_avl", 0}, QOR_AVL_InsertNode, QOR_AVL_DeleteNode, QOR_AVL_GetFirst,
        QOR_AVL_GetNext, QOR_AVL_FindOrFindNext, QOR_AVL_CreateWalk);
    CheckAll({"qor_walk", 0}, QOR_WALK_Create, QOR_WALK_WalkNode, QOR_WALK_WalkNext,
        QOR_WALK_WalkNextNode, QOR_WALK_CopyKey, QOR_WALK_Reset, QOR_WALK_Destroy);
    CheckAll({"qor_wdll", 0}, QOR_WDLL_FirstNode_X, QOR_WDLL_LastNode_X, QOR_WDLL_NextNode_X,
        QOR_WDLL_PrevNode_X, QOR_WDLL_DelNode_X, QOR_WDLL_CreateWalk_X, QOR_WDLL_DeleteWalk_X,
        QOR_WDLL_ResetWalk_X, QOR_WDLL_WalkNode_X, QOR_WDLL_WalkNext_X);
    Check({"qor_wdll", 0}, QOR_WDLL_FindNode_X, 1);
    CheckAll({"qor_dbg", 0}, QOR_DBG_Init, QOR_DBG_DeInit, DbgOutput, DbgWriteAndOutput, DbgWrite,
        QOR_DBG_OutputBuffer, QOR_DBG_AppendStr2Buffer_H, QOR_DBG_StrTrimRN,
        QOR_DBG_OutputDbgString);
    CheckAll({"qor_file", QOR_ERR_ARG}, QOR_FILE_Init, QOR_FILE_DeInit, QOR_FILE_GetExistFileName,
        QOR_FILE_CloseFile, QOR_FILE_CreateNewFile, QOR_FILE_OpenFile, QOR_FILE_SetWorkMode,
        FileOutput);
    Check({"qor_file", 0}, QOR_FILE_SetFileName, 1);
    Check({"qor_file", 0}, QOR_FILE_PutFile, 0);
    CheckAll({"qor_fsm", QOR_ERR_ARG}, QOR_FSM_InitLib, QOR_FSM_DeInitLib, QOR_FSM_Execute,
        QOR_FSM_MrCreateFallBackTimer, QOR_FSM_MrDeleteFallBackTimer, QOR_FSM_GetStateName,
        QOR_FSM_GetEventName);
    CheckAll({"qor_dq", QOR_ERR_ARG}, QOR_DQ_Init, QOR_DQ_DeInit, QOR_DQ_RegInst, QOR_DQ_UnRegInst,
        QOR_DQ_AddNode, QOR_DQ_DelNode, QOR_DQ_DelAllNode, QOR_DQ_FlushNode, QOR_DQ_GetNode,
        QOR_DQ_SetTimeOutValue, QOR_DQ_ProcTimer, QOR_DQ_StartCycleTimer, QOR_DQ_StopCycleTimer,
        QOR_DQ_UpdateTimeStamp);
    CheckAll({"qor_dq", 0}, QOR_DQ_IsNodeExist, QOR_DQ_CmpInstCallback);
    CheckAll({"qor_dq", UINT32_MAX}, QOR_DQ_Serialize, QOR_DQ_FormatInst, QOR_DQ_FormatNode,
        QOR_DQ_FormatKey);
    CheckAll({"qor_pads", QOR_ERR_ARG}, QOR_PADS_InitPads, QOR_PADS_DeInitPads,
        QOR_PADS_InitHealth, QOR_PADS_DeInitHealth, QOR_PADS_RegOnceExcp, QOR_PADS_RegExpireExcp,
        QOR_PADS_RegStatExcp, QOR_PADS_RegDA, QOR_PADS_UnRegIndex, QOR_PADS_UnRegOnceExcp,
        QOR_PADS_UnRegExpireExcp, QOR_PADS_UnRegStatExcp, QOR_PADS_UnRegDA, QOR_PADS_InitIndex,
        QOR_PADS_AddExcpUser, QOR_PADS_DelExcpUser, QOR_PADS_AddOnceExcpUser,
        QOR_PADS_AddExpireExcpUser, QOR_PADS_AddStatExcpUser, QOR_PADS_AddDAUser,
        QOR_PADS_DelExpireExcpUser, QOR_PADS_DelStatExcpUser, QOR_PADS_DelDAUser,
        QOR_PADS_InitUser, QOR_PADS_GetIndexById, QOR_PADS_GetFirstIndex, QOR_PADS_GetNextIndex,
        QOR_PADS_GetUserById, QOR_PADS_GetFirstUser, QOR_PADS_GetNextUser);
    CheckAll({"qor_pads", QOR_ERR_ARG}, QOR_PADS_RecordExcp, QOR_PADS_RecordOnceExcp,
        QOR_PADS_RecordExpireExcp, QOR_PADS_RecordStatExcp, QOR_PADS_AddStatNode,
        QOR_PADS_ProcOneStatExcp, QOR_PADS_ProcOneExpireExcp, QOR_PADS_HealthSchedule,
        QOR_PADS_ScheduleDA, QOR_PADS_ScheduleExcp, QOR_PADS_StartMinTimer,
        QOR_PADS_StartSecTimer, QOR_PADS_TryStopMinTimer, QOR_PADS_TryStopSecTimer,
        QOR_PADS_AllExcp2String, QOR_PADS_OneExcp2String, QOR_PADS_FormatOutOneExcp,
        QOR_PADS_DumpHealthInfo, QOR_PADS_DumpIndexInfo);
    CheckAll({"qor_pads", UINT32_MAX}, QOR_PADS_CompareUint32Key);
    CheckAll({"qor_pdpwe3i", 0}, QOR_PDPWE3I_ConstructSsnVerifyRequestHandle,
        QOR_PDPWE3I_ConstructSigVerifyRequestHandle, QOR_PDPWE3I_ConstructVerifyRequestAckHandle,
        QOR_PDPWE3I_CheckSsnVerifyRequestHandleValid, QOR_PDPWE3I_CheckSigVerifyRequestHandleValid,
        QOR_PDPWE3I_CheckVerifyRequestAckHandleValid, QOR_PDPWE3I_BuildVerifyHandleTlv,
        QOR_PDPWE3I_SetVerifySigKey);
    CheckAll({"qor_pkt_bgp", UINT32_MAX}, P(CmpExtComm));
    CheckAll({"qor_pkt_bgp", 0}, QOR_PKT_PutExtcommNet, QOR_PKT_PutExtcommHost,
        QOR_PKT_PutExtcommNetKetu, QOR_PKT_GetExtcommNet, QOR_PKT_GetExtcommHost,
        QOR_PKT_GetExtcommNetKetu);
    Check({"qor_pkt_bgp", 0}, P(FmtExtComm2Str), 3);
    CheckAll({"qor_pkt", QOR_ERR_ARG}, P(CopySignalMsg));
    CheckAll({"qor_pkt", QOR_FAIL}, P(CopySignalMappingMsg), P(ParseFec129));
    CheckAll({"qor_pkt", UINT32_MAX}, P(CmpPwFecKey));
    CheckAll({"qor_pkt", 0}, QOR_PKT_Init, QOR_PKT_DeInit, P(FreeSignalMsg), P(FreeUnknowTlvList),
        P(FreeUnknowTlvNode), P(FreeListNode), P(ErrCode2StatusCode), P(FmtPwFec2Str),
        P(FormatFec129));
    CheckAll({"qor_pkt_ldp_decode", QOR_FAIL}, P(DecodeMsgHeader), P(DecodeMsg),
        P(DecodeMappingMsg), P(DecodeRequestMsg), P(DecodeWithdrawMsg), P(DecodeReleaseMsg),
        P(DecodeNotificationMsg), P(DecodeMacwithdrawMsg), P(DecodeFecTlv), P(DecodeWcFec),
        P(DecodeAddrFec), P(DecodeHostFec), P(DecodeVcFec128), P(DecodeVcFec129), P(GetPwFec128),
        P(DecodeIntfParaSubTlv), P(DecodeIntfDescSubTlv), P(SetIntfDesc), P(DecodeIntfParaTlv),
        P(DecodeMacTlv), P(DecodeMacFlapTlv), P(DecodeMacFlushTlv), P(DecodeMacVendorFlushTlv),
        P(DecodePwTagTlv), P(DecodePathVectorTlv), P(DecodeAddrListTlv), P(DecodeUnknownTlv),
        P(DecodeSPE));
    CheckAll({"qor_pkt_ldp_decode", 0}, P(InitPwIdFecInfo), P(ClearPwIdFecInfo),
        P(FillMappingIntfDesc), P(FreeIntfDesc), P(OutputErrMsg), P(LogUnknownFecType),
        P(LogInvalidFecLen), P(LogInvalidSubTlv), P(LogInvalidMtuLen), P(LogInvalidVccvLen),
        P(LogInvalidFragmentLen), P(LogInvalidConcatAtmCellsLen), P(LogInvalidCemPayloadLen),
        P(LogInvalidCemOptionLen), P(LogInvalidCemBitrateLen), P(LogInvalidFlowLabelLen));
    CheckAll({"qor_pkt_ldp_encode", 0}, P(EncodeMsg), P(EncodeMappingMsg), P(EncodeRequestMsg),
        P(EncodeWithdrawMsg), P(EncodeReleaseMsg), P(EncodeNotificationMsg),
        P(EncodeErrNotificationMsg), P(EncodePwNotificationMsg), P(EncodeMacwithdrawMsg),
        P(EncodeLdpStatusCode), P(EncodePWidFecWithIntfPara), P(EncodePWidFecWithoutIntfPara),
        P(EncodeGenPwId), P(EncodeIntfParaSubTlv), P(EncodeIntfDescSubTlv),
        P(EncodeMappingMsgIntfDesc), P(EncodeSPE));
    CheckAll({"qor_pkt_ldp_encode", QOR_FAIL}, P(SetPwFec128));
    CheckAll({"qor_pkt_ldp_encode", QOR_ERR_ARG}, P(EncodeIntfParaTlv), P(EncodeAddrListTlv),
        P(EncodeMacPeIdTlv), P(EncodeMacFlapTlv), P(EncodeMacFlushTlv),
        P(EncodeMacVendorFlushTlv), P(EncodePwTagTlv), P(EncodePathVectorTlv),
        P(EncodeUnknownTlv), P(EncodeGroupIdTlv));
}
// clang-format on

// Where NULL is an ordinary argument or the told silence, and what is refused without any NULL.
TEST_F(ArgumentTest, Others) {
    EXPECT_EQ(QOR_LDP_PKT_IsSysIpValid(nullptr), 0u);
    const char *format = nullptr;
    QOR_LOG_CompTestLog(format, 0);
    QOR_IP_ADDR_S addr;
    EXPECT_EQ(QOR_IP_ConstructAddr(0, nullptr, &addr), QOR_ERR_ARG);
    const QOR_EXTCOMM_S ext{};
    char text[8];
    EXPECT_EQ(QOR_LDP_PKT_FmtExtComm2Str(&ext, text, sizeof text, nullptr), text);
    EXPECT_TRUE(host.asserts.empty());

    Guards guards;
    void *at = guards.block[0].data();
    const auto rec = static_cast<QOR_LDP_SIGNAL_MSG_S *>(at);
    const auto log = static_cast<QOR_LOG_S *>(at);  // without the magic
    EXPECT_EQ(QOR_LDP_PKT_FmtPwFec2Str(&rec->stFecKey, text, 0), nullptr);
    EXPECT_EQ(QOR_LDP_PKT_FmtExtComm2Str(&ext, text, -1, nullptr), nullptr);
    EXPECT_EQ(QOR_IP_ToString(&addr, text, 45), QOR_ERR_ARG);
    EXPECT_EQ(QOR_MAM_Init(0, at), nullptr);
    EXPECT_EQ(QOR_MAM_BlackBoxCreate(static_cast<QOR_MAM_S *>(at), 1, 0, 0), nullptr);
    QOR_LOG_DeInit(log);
    QOR_LOG_DevLog(log, "x");
    EXPECT_EQ(QOR_LDP_PKT_CopySignalMsg(rec, rec, static_cast<QOR_PKT_CTX_S *>(at)), QOR_ERR_ARG);
    EXPECT_EQ(QOR_LDP_PKT_CopySignalMappingMsg(rec, rec, static_cast<QOR_PKT_CTX_S *>(at)),
              QOR_FAIL);
    const char *rest = text;
    EXPECT_EQ(QOR_DBG_GetSmpDbgString(nullptr, text, &rest), 1u);
    EXPECT_EQ(rest, nullptr);
    EXPECT_EQ(QOR_DBG_GetSmpDbgString(text, nullptr, &rest), 1u);
    EXPECT_EQ(QOR_DBG_GetSmpDbgString(text, text, nullptr), 1u);
    std::string sources;
    for (const AssertReport &report : host.asserts) sources += report.file + ' ';
    EXPECT_EQ(sources,
              "qor_pkt qor_pkt_bgp qor_base qor_mam qor_mam qor_log qor_log qor_pkt qor_pkt "
              "qor_dbg qor_dbg qor_dbg ");
    EXPECT_TRUE(guards.Intact());
    EXPECT_TRUE(host.lines.empty());
}

}  // namespace
