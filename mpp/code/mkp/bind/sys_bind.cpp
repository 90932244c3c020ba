// Binding, unbinding, queries and delivery.
#include "mpp/include/mpp_bind.h"

#include "base/mutex_guard.h"
#include "mpp/code/mkp/bind/sys_bind_table.h"
#include "mpp/code/mpp_report.h"

#include <cstdlib>

namespace {

// Modules whose bindings have rules of their own.
constexpr std::uint32_t notifiedSender = 7;
constexpr std::uint32_t resettingSender = 5;
constexpr std::uint32_t singleDeviceSenders[] = {5, 16};
constexpr std::uint32_t singleChannelSender = 15;

bool isSameChannel(const BIND_CHN_S &a, const BIND_CHN_S &b) {
    return a.u32ModId == b.u32ModId && a.u32DevId == b.u32DevId && a.u32ChnId == b.u32ChnId;
}

bool hasChannel(const BindModule &module, const BIND_CHN_S &channel) {
    return channel.u32DevId < module.devCnt && channel.u32ChnId < module.chnCnt;
}

std::uint32_t indexOf(const BindModule &module, const BIND_CHN_S &channel) {
    return channel.u32DevId * module.chnCnt + channel.u32ChnId;
}

BindDestNode *nodeOf(BindLink *link) {
    return reinterpret_cast<BindDestNode *>(link);
}

// The registered module that the channel belongs to, or null after a message.
BindModule *checkChannel(BindModule *const (&table)[BIND_MOD_NUM], const BIND_CHN_S &channel,
                         CallSite site = CallSite::here()) {
    if (channel.u32ModId >= BIND_MOD_NUM) {
        mppReport(site, "ModId:%d is invalid !\n", shown(channel.u32ModId));
        return nullptr;
    }
    BindModule *const module = table[channel.u32ModId];
    if (module == nullptr) {
        char name[sizeof BindModule::name];
        bindModuleName(channel.u32ModId, name);
        mppReport(site, "ModId:%d(%s) is not supported !\n", shown(channel.u32ModId), name);
        return nullptr;
    }
    if (!hasChannel(*module, channel)) {
        mppReport(site, "Bind dev or chn is invalid, dev:%d, chn:%d !\n", shown(channel.u32DevId),
                  shown(channel.u32ChnId));
        return nullptr;
    }
    return module;
}

void listDestinations(const BindModule &sender, const BIND_CHN_S &source, BIND_DEST_S *destinations,
                      CallSite site = CallSite::here()) {
    BindSourceHead &head = sender.sources[indexOf(sender, source)];
    destinations->u32Num = 0;
    for (BindLink *link = head.link.next; link != &head.link; link = link->next) {
        if (destinations->u32Num == BIND_DEST_MAX) {
            mppReport(site, "bind src(mod:%d,dev:%d,chn:%d) too many \n", shown(source.u32ModId),
                      shown(source.u32DevId), shown(source.u32ChnId));
            return;
        }
        destinations->astChn[destinations->u32Num++] = nodeOf(link)->destination;
    }
}

// Gives a source channel its send record. False: no memory.
bool addSendRecord(const BindModule &sender, const BIND_CHN_S &source) {
    if (!bindGrowSendList(sender.modId, sender.slotCnt)) {
        return false;
    }
    auto *const record = static_cast<BIND_DEST_S *>(std::calloc(1, sizeof(BIND_DEST_S)));
    bindTables.sendLists[sender.modId].records[indexOf(sender, source)] = record;
    return record != nullptr;
}

void dropSendRecord(const BindModule &sender, const BIND_CHN_S &source) {
    BIND_DEST_S *&record = bindTables.sendLists[sender.modId].records[indexOf(sender, source)];
    std::free(record);
    record = nullptr;
}

BIND_DEST_S *sendRecord(const BindModule &sender, const BIND_CHN_S &source) {
    const BindSendList &list = bindTables.sendLists[sender.modId];
    const std::uint32_t index = indexOf(sender, source);
    return index < list.count ? list.records[index] : nullptr;
}

void appendNode(BindSourceHead &head, BindDestNode *node) {
    node->link = {&head.link, head.link.previous};
    head.link.previous->next = &node->link;
    head.link.previous = &node->link;
    ++head.u32DestNum;
}

void removeNode(BindSourceHead &head, const BIND_CHN_S &destination,
                CallSite site = CallSite::here()) {
    BindLink *link = head.link.next;
    while (link != &head.link && !isSameChannel(nodeOf(link)->destination, destination)) {
        link = link->next;
    }
    mppAssert(link != &head.link, "HI_TRUE == bFind", site);
    mppAssert(head.u32DestNum > 0, "pstSrcBind->u32DestNum > 0", site);
    link->previous->next = link->next;
    link->next->previous = link->previous;
    std::free(nodeOf(link));
    --head.u32DestNum;
}

// What is to be told, once no lock is held, of a source's changed bindings.
struct Notice {
    decltype(BIND_SENDER_S::pfnNotify) notify = nullptr;
    BIND_CHN_S source = {};
    BIND_DEST_S destinations = {};

    void prepare(const BindModule &sender, const BIND_CHN_S &changed) {
        if (changed.u32ModId == notifiedSender && sender.notify != nullptr) {
            notify = sender.notify;
            source = changed;
            listDestinations(sender, changed, &destinations);
        }
    }

    void deliver() const {
        if (notify != nullptr) {
            notify(source.u32DevId, source.u32ChnId, &destinations);
        }
    }
};

std::int32_t bind(const BIND_CHN_S &source, const BIND_CHN_S &destination, Notice *notice,
                  CallSite site) {
    const MutexGuard operationGuard(bindOperationLock);
    const MutexGuard tableGuard(bindTableLock);
    const BindModule *const sender = checkChannel(bindTables.senders, source, site);
    if (sender == nullptr) {
        return ERR_SYS_ILLEGAL_PARAM;
    }
    const BindModule *const receiver = checkChannel(bindTables.receivers, destination, site);
    if (receiver == nullptr) {
        return ERR_SYS_ILLEGAL_PARAM;
    }
    BindRecord &record = receiver->records[indexOf(*receiver, destination)];
    if (record.bound != 0) {
        char name[sizeof BindModule::name];
        bindModuleName(record.source.u32ModId, name);
        mppReport(site, "Dest have bind Src:(%s,%d,%d) !\n", name, shown(record.source.u32DevId),
                  shown(record.source.u32ChnId));
        return ERR_SYS_NOT_PERM;
    }
    BindSourceHead &head = sender->sources[indexOf(*sender, source)];
    if (head.u32DestNum >= BIND_DEST_MAX) {
        mppReport(site, "src bind max(%d) err!\n", shown(head.u32DestNum));
        return ERR_SYS_NOT_PERM;
    }
    const bool hadSendRecord = sendRecord(*sender, source) != nullptr;
    if (!hadSendRecord && !addSendRecord(*sender, source)) {
        mppReport(site, "No memory for bind SRC!\n");
        return ERR_SYS_NOMEM;
    }
    auto *const node = static_cast<BindDestNode *>(std::calloc(1, sizeof(BindDestNode)));
    if (node == nullptr) {
        if (!hadSendRecord) {
            dropSendRecord(*sender, source);
        }
        mppReport(site, "BIND_MALLOC err!\n");
        return ERR_SYS_NOMEM;
    }
    node->destination = destination;
    record = {1, source, sender->serial, 0, 0};
    appendNode(head, node);
    notice->prepare(*sender, source);
    return 0;
}

// Frees the destination of a bound record. The sender that bound it may have gone, and another have
// come under its id.
void release(BindRecord &record, const BIND_CHN_S &destination, Notice *notice, CallSite site) {
    const BindModule *const sender = bindTables.senders[record.source.u32ModId];
    if (sender != nullptr && sender->serial == record.senderSerial) {
        removeNode(sender->sources[indexOf(*sender, record.source)], destination, site);
        notice->prepare(*sender, record.source);
    }
    record.bound = 0;
}

// A destination as a delivery finds it.
struct Destination {
    decltype(BIND_RECEIVER_S::pfnReceive) receive = nullptr;
    decltype(BIND_RECEIVER_S::pfnReset) reset = nullptr;
};

// Finds the destination's callbacks and counts what is about to be delivered to it.
Destination countDelivery(const BIND_CHN_S &channel, std::uint32_t BindRecord::*counter,
                          CallSite site) {
    mppAssert(channel.u32ModId < BIND_MOD_NUM, "enModId < HI_ID_BUTT", site);
    const MutexGuard tableGuard(bindTableLock);
    const BindModule *const receiver = bindTables.receivers[channel.u32ModId];
    if (receiver == nullptr) {
        mppReport(site, "Mod %d have not register !\n", shown(channel.u32ModId));
        return {};
    }
    if (!hasChannel(*receiver, channel)) {
        return {};
    }
    const bool isReset = counter == &BindRecord::resetCount;
    if (!isReset || receiver->reset != nullptr) {
        ++(receiver->records[indexOf(*receiver, channel)].*counter);
    }
    return {receiver->receive, receiver->reset};
}

// The channel that a module's delivery really comes from.
BIND_CHN_S deliverySource(std::uint32_t modId, std::uint32_t dev, std::uint32_t chn) {
    BIND_CHN_S source = {modId, dev, chn};
    for (const std::uint32_t sender : singleDeviceSenders) {
        if (modId == sender) {
            source.u32DevId = 0;
        }
    }
    if (modId == singleChannelSender) {
        source.u32ChnId = 0;
    }
    return source;
}

// Copies the destinations of a delivery. Returns 0, or why there are none: `unbound` when the
// source is registered but nothing is bound to it.
std::int32_t gatherDestinations(const BIND_CHN_S &source, std::int32_t unbound,
                                BIND_DEST_S *destinations, CallSite site) {
    const MutexGuard tableGuard(bindTableLock);
    destinations->u32Num = 0;
    const BindModule *const sender = checkChannel(bindTables.senders, source, site);
    if (sender == nullptr) {
        return ERR_SYS_NOT_PERM;
    }
    BIND_DEST_S *const record = sendRecord(*sender, source);
    if (record == nullptr) {
        mppReport(site, "Mod %d, dev %d, chn %d, have not bind !\n", shown(source.u32ModId),
                  shown(source.u32DevId), shown(source.u32ChnId));
        return unbound;
    }
    listDestinations(*sender, source, record, site);
    *destinations = *record;
    if (destinations->u32Num == 0) {
        mppReport(site, "have not Binder !\n");
        return unbound;
    }
    return 0;
}

} // namespace

std::int32_t SYS_Bind(const BIND_CHN_S *source, const BIND_CHN_S *destination) {
    if (source == nullptr || destination == nullptr) {
        mppReport(CallSite::here(), "Null point \n");
        return ERR_SYS_NULL_PTR;
    }
    Notice notice;
    const std::int32_t result = bind(*source, *destination, &notice, CallSite::here());
    notice.deliver();
    return result;
}

std::int32_t SYS_UnBind(const BIND_CHN_S *destination) {
    if (destination == nullptr) {
        mppReport(CallSite::here(), "Null point \n");
        return ERR_SYS_NULL_PTR;
    }
    Notice notice;
    decltype(BIND_RECEIVER_S::pfnReset) reset = nullptr;
    {
        const MutexGuard operationGuard(bindOperationLock);
        const MutexGuard tableGuard(bindTableLock);
        const BindModule *const receiver = checkChannel(bindTables.receivers, *destination);
        if (receiver == nullptr) {
            return ERR_SYS_ILLEGAL_PARAM;
        }
        BindRecord &record = receiver->records[indexOf(*receiver, *destination)];
        if (record.bound == 0) {
            return 0;
        }
        release(record, *destination, &notice, CallSite::here());
        if (record.source.u32ModId == resettingSender) {
            reset = receiver->reset;
        }
    }
    notice.deliver();
    if (reset != nullptr) {
        reset(destination->u32DevId, destination->u32ChnId, nullptr);
    }
    return 0;
}

std::int32_t SYS_GetBindbyDest(const BIND_CHN_S *destination, BIND_CHN_S *source) {
    if (destination == nullptr || source == nullptr) {
        mppReport(CallSite::here(), "Null point \n");
        return ERR_SYS_NULL_PTR;
    }
    const MutexGuard tableGuard(bindTableLock);
    const BindModule *const receiver = checkChannel(bindTables.receivers, *destination);
    if (receiver == nullptr) {
        return ERR_SYS_ILLEGAL_PARAM;
    }
    const BindRecord &record = receiver->records[indexOf(*receiver, *destination)];
    if (record.bound == 0) {
        mppReport(CallSite::here(), "Dest have not bind any Src \n");
        return ERR_SYS_ILLEGAL_PARAM;
    }
    *source = record.source;
    return 0;
}

std::int32_t SYS_GetBindbySrc(const BIND_CHN_S *source, BIND_DEST_S *destinations) {
    const MutexGuard operationGuard(bindOperationLock);
    if (source == nullptr || destinations == nullptr) {
        mppReport(CallSite::here(), "Null point \n");
        return ERR_SYS_NULL_PTR;
    }
    const MutexGuard tableGuard(bindTableLock);
    const BindModule *const sender = checkChannel(bindTables.senders, *source);
    if (sender == nullptr) {
        return ERR_SYS_ILLEGAL_PARAM;
    }
    listDestinations(*sender, *source, destinations);
    return 0;
}

std::int32_t SYS_BIND_SendData(std::uint32_t modId, std::uint32_t dev, std::uint32_t chn,
                               std::uint32_t argument, std::uint32_t dataType, void *data) {
    mppAssert(modId < BIND_MOD_NUM, "enModId < HI_ID_BUTT");
    mppAssert(dataType < BIND_DATA_TYPE_NUM, "enDataType < MPP_DATA_BUTT");
    if (data == nullptr) {
        mppReport(CallSite::here(), "Null point \n");
        return ERR_SYS_NULL_PTR;
    }
    const BIND_CHN_S source = deliverySource(modId, dev, chn);
    BIND_DEST_S destinations;
    std::int32_t result =
        gatherDestinations(source, ERR_SYS_NOT_PERM, &destinations, CallSite::here());
    for (std::uint32_t i = 0; i < destinations.u32Num; ++i) {
        const BIND_CHN_S &channel = destinations.astChn[i];
        const Destination destination =
            countDelivery(channel, &BindRecord::sendCount, CallSite::here());
        if (destination.receive != nullptr) {
            result |=
                destination.receive(channel.u32DevId, channel.u32ChnId, argument, dataType, data);
        }
    }
    return result;
}

std::int32_t SYS_BIND_ResetData(std::uint32_t modId, std::uint32_t dev, std::uint32_t chn,
                                void *data) {
    mppAssert(modId < BIND_MOD_NUM, "enModId < HI_ID_BUTT");
    if (data == nullptr) {
        mppReport(CallSite::here(), "Null point \n");
        return ERR_SYS_NULL_PTR;
    }
    const BIND_CHN_S source = deliverySource(modId, dev, chn);
    BIND_DEST_S destinations;
    std::int32_t result = 0;
    {
        const MutexGuard operationGuard(bindOperationLock);
        result = gatherDestinations(source, 0, &destinations, CallSite::here());
    }
    for (std::uint32_t i = 0; i < destinations.u32Num; ++i) {
        const BIND_CHN_S &channel = destinations.astChn[i];
        const Destination destination =
            countDelivery(channel, &BindRecord::resetCount, CallSite::here());
        if (destination.reset != nullptr) {
            destination.reset(channel.u32DevId, channel.u32ChnId, data);
        }
    }
    return result;
}
