// The binder's tables: who is registered, and who is bound to whom.
#pragma once

#include "mpp/include/mpp_bind.h"

#include <pthread.h>

#include <cstdint>

// A circular list through its head; an empty list's head points at itself.
struct BindLink {
    BindLink *next;
    BindLink *previous;
};

// The destinations of one sender channel.
struct BindSourceHead {
    BindLink link;
    std::uint32_t u32DestNum;
};

// One binding, on its source's list.
struct BindDestNode {
    BindLink link; // first, so that a link leads back to its node
    BIND_CHN_S destination;
};

// The state of one receiver channel.
struct BindRecord {
    std::uint32_t bound;
    BIND_CHN_S source;
    std::uint32_t senderSerial; // which registration of the source's module made the binding
    std::uint32_t sendCount;
    std::uint32_t resetCount;
};

// One registration. A sender has source heads, a receiver bind records: one a channel.
struct BindModule {
    std::uint32_t modId;
    char name[8];
    std::uint32_t devCnt;
    std::uint32_t chnCnt;
    decltype(BIND_RECEIVER_S::pfnReceive) receive;
    decltype(BIND_RECEIVER_S::pfnReset) reset;
    decltype(BIND_SENDER_S::pfnNotify) notify;
    std::uint32_t slotCnt;
    std::uint32_t serial; // of the registration
    BindSourceHead *sources;
    BindRecord *records;
};

// What has been allocated for sending from a module's channels. Outlives the registration.
struct BindSendList {
    std::uint32_t count;
    BIND_DEST_S **records;
};

struct BindTables {
    BindModule *senders[BIND_MOD_NUM];
    BindModule *receivers[BIND_MOD_NUM];
    BindSendList sendLists[BIND_MOD_NUM];
    std::uint32_t nextSerial;
};

// Guarded by the table lock. The bind lock makes whole operations wait for each other and is taken
// first where both are.
extern BindTables bindTables;
extern pthread_mutex_t bindTableLock;
extern pthread_mutex_t bindOperationLock;

// A name for the module in messages, whether it is registered or not.
void bindModuleName(std::uint32_t modId, char (&name)[8]);

// Makes sure that the module's send list has room for `count` channels. False: no memory.
bool bindGrowSendList(std::uint32_t modId, std::uint32_t count);

// Frees a registration with all its bindings' nodes; null is passed over.
void bindFreeModule(BindModule *module);

// Frees all that has been allocated for sending.
void bindFreeSendLists();
