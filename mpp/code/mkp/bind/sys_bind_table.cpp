#include "mpp/code/mkp/bind/sys_bind_table.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

BindTables bindTables;
pthread_mutex_t bindTableLock = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t bindOperationLock = PTHREAD_MUTEX_INITIALIZER;

namespace {

void freeSources(BindModule *module) {
    for (std::uint32_t i = 0; module->sources != nullptr && i < module->slotCnt; ++i) {
        BindLink *const head = &module->sources[i].link;
        for (BindLink *link = head->next; link != head;) {
            BindLink *const next = link->next;
            std::free(reinterpret_cast<BindDestNode *>(link));
            link = next;
        }
    }
    std::free(module->sources);
}

} // namespace

void bindModuleName(std::uint32_t modId, char (&name)[8]) {
    switch (modId) {
    case MOD_ID_AO:
        std::snprintf(name, sizeof name, "ao");
        break;
    case MOD_ID_ADEC:
        std::snprintf(name, sizeof name, "adec");
        break;
    default:
        std::snprintf(name, sizeof name, "mod%u", std::min(modId, BIND_MOD_NUM));
        break;
    }
}

bool bindGrowSendList(std::uint32_t modId, std::uint32_t count) {
    BindSendList &list = bindTables.sendLists[modId];
    if (list.records != nullptr && list.count >= count) {
        return true;
    }
    auto **const records = static_cast<BIND_DEST_S **>(std::calloc(count, sizeof(void *)));
    if (records == nullptr) {
        return false;
    }
    std::copy_n(list.records, list.records != nullptr ? list.count : 0, records);
    std::free(static_cast<void *>(list.records));
    list = {count, records};
    return true;
}

void bindFreeModule(BindModule *module) {
    if (module != nullptr) {
        freeSources(module);
        std::free(module->records);
        std::free(module);
    }
}

void bindFreeSendLists() {
    for (BindSendList &list : bindTables.sendLists) {
        for (std::uint32_t i = 0; i < list.count; ++i) {
            std::free(list.records[i]);
        }
        std::free(static_cast<void *>(list.records));
        list = {};
    }
}
