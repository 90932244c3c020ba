// Start, end and registrations of the binder.
#include "base/mutex_guard.h"
#include "base/unique_memory.h"
#include "mpp/code/mkp/bind/sys_bind_table.h"
#include "mpp/code/mpp_report.h"
#include "mpp/include/mpp_bind.h"

#include <cstdlib>

namespace {

struct ModuleFreer {
    void operator()(BindModule *module) const { bindFreeModule(module); }
};
using UniqueModule = std::unique_ptr<BindModule, ModuleFreer>;

// A module record of the registration's numbers, or null with *error set.
UniqueModule newModule(BindModule *const (&table)[BIND_MOD_NUM], std::uint32_t modId,
                       std::uint32_t devCnt, std::uint32_t chnCnt, std::int32_t *error,
                       CallSite site = CallSite::here()) {
    *error = ERR_SYS_ILLEGAL_PARAM;
    if (modId >= BIND_MOD_NUM) {
        return nullptr;
    }
    if (table[modId] != nullptr) {
        mppReport(site, "Mod %d have register !\n", shown(modId));
        *error = ERR_SYS_NOT_PERM;
        return nullptr;
    }
    const std::uint64_t slots = std::uint64_t{devCnt} * chnCnt;
    if (slots == 0 || slots > UINT32_MAX) {
        mppReport(site, "u32MaxDevCnt or u32MaxChnCnt invalid !\n");
        return nullptr;
    }
    *error = ERR_SYS_NOMEM;
    UniqueModule module(static_cast<BindModule *>(std::calloc(1, sizeof(BindModule))));
    if (module == nullptr) {
        return nullptr;
    }
    module->modId = modId;
    bindModuleName(modId, module->name);
    module->devCnt = devCnt;
    module->chnCnt = chnCnt;
    module->slotCnt = static_cast<std::uint32_t>(slots);
    module->serial = ++bindTables.nextSerial;
    return module;
}

bool allocateSources(BindModule *module) {
    module->sources =
        static_cast<BindSourceHead *>(std::calloc(module->slotCnt, sizeof(BindSourceHead)));
    for (std::uint32_t i = 0; module->sources != nullptr && i < module->slotCnt; ++i) {
        BindLink &link = module->sources[i].link;
        link = {&link, &link};
    }
    return module->sources != nullptr;
}

bool allocateRecords(BindModule *module) {
    module->records = static_cast<BindRecord *>(std::calloc(module->slotCnt, sizeof(BindRecord)));
    return module->records != nullptr;
}

std::int32_t unregister(BindModule *(&table)[BIND_MOD_NUM], std::uint32_t modId,
                        CallSite site = CallSite::here()) {
    const MutexGuard tableGuard(bindTableLock);
    if (modId >= BIND_MOD_NUM) {
        return ERR_SYS_ILLEGAL_PARAM;
    }
    if (table[modId] == nullptr) {
        mppReport(site, "Mod:%d have not register ! \n", shown(modId));
        return ERR_SYS_NOT_PERM;
    }
    bindFreeModule(table[modId]);
    table[modId] = nullptr;
    return 0;
}

} // namespace

std::int32_t SYS_BIND_Init() {
    const MutexGuard operationGuard(bindOperationLock);
    const MutexGuard tableGuard(bindTableLock);
    for (std::uint32_t modId = 0; modId < BIND_MOD_NUM; ++modId) {
        bindFreeModule(bindTables.senders[modId]);
        bindFreeModule(bindTables.receivers[modId]);
    }
    bindFreeSendLists();
    bindTables = {};
    return 0;
}

std::int32_t SYS_BIND_Exit() {
    const MutexGuard tableGuard(bindTableLock);
    bindFreeSendLists();
    return 0;
}

std::int32_t SYS_BIND_RegisterSender(const BIND_SENDER_S *sender) {
    if (sender == nullptr) {
        mppReport(CallSite::here(), "Null point \n");
        return ERR_SYS_NULL_PTR;
    }
    const MutexGuard tableGuard(bindTableLock);
    std::int32_t error = 0;
    UniqueModule module = newModule(bindTables.senders, sender->u32ModId, sender->u32DevCnt,
                                    sender->u32ChnCnt, &error);
    if (module == nullptr) {
        return error;
    }
    if (!allocateSources(module.get())) {
        mppReport(CallSite::here(), "No memory for bind table!\n");
        return ERR_SYS_NOMEM;
    }
    if (!bindGrowSendList(module->modId, module->slotCnt)) {
        mppReport(CallSite::here(), "No memory for bind SRC!\n");
        return ERR_SYS_NOMEM;
    }
    module->notify = sender->pfnNotify;
    bindTables.senders[sender->u32ModId] = module.release();
    return 0;
}

std::int32_t SYS_BIND_RegisterReceiver(const BIND_RECEIVER_S *receiver) {
    if (receiver == nullptr || receiver->pfnReceive == nullptr) {
        mppReport(CallSite::here(), "Null point \n");
        return ERR_SYS_NULL_PTR;
    }
    const MutexGuard tableGuard(bindTableLock);
    std::int32_t error = 0;
    UniqueModule module = newModule(bindTables.receivers, receiver->u32ModId, receiver->u32DevCnt,
                                    receiver->u32ChnCnt, &error);
    if (module == nullptr) {
        return error;
    }
    if (!allocateRecords(module.get())) {
        mppReport(CallSite::here(), "No memory for bind table!\n");
        return ERR_SYS_NOMEM;
    }
    module->receive = receiver->pfnReceive;
    module->reset = receiver->pfnReset;
    bindTables.receivers[receiver->u32ModId] = module.release();
    return 0;
}

std::int32_t SYS_BIND_UnRegisterSender(std::uint32_t modId) {
    return unregister(bindTables.senders, modId);
}

std::int32_t SYS_BIND_UnRegisterReceiver(std::uint32_t modId) {
    return unregister(bindTables.receivers, modId);
}
