#pragma once

// AIBinder: local binder objects, proxies, transactions and death watching (libbinder_ndk).
// Host behaviour: there is no binder driver. A binder obtained from the service manager is a
// proxy; AIBinder_transact on it marshals the call into a parcel and runs the service's
// onTransact synchronously on the calling thread, then hands back the reply parcel. A local
// binder written into a parcel that crosses a proxy arrives on the other side as a proxy.

#include <stdint.h>
#include <sys/cdefs.h>

#include <android/binder_parcel.h>
#include <android/binder_status.h>

__BEGIN_DECLS

typedef uint32_t transaction_code_t;
typedef uint32_t binder_flags_t;
enum {
    FIRST_CALL_TRANSACTION = 0x00000001,
    LAST_CALL_TRANSACTION = 0x00ffffff,
};
enum {
    FLAG_ONEWAY = 0x01,
};

struct AIBinder_Class;
typedef struct AIBinder_Class AIBinder_Class;
struct AIBinder_Weak;
typedef struct AIBinder_Weak AIBinder_Weak;
struct AIBinder_DeathRecipient;
typedef struct AIBinder_DeathRecipient AIBinder_DeathRecipient;

typedef void* (*AIBinder_Class_onCreate)(void* args);
typedef void (*AIBinder_Class_onDestroy)(void* userData);
typedef binder_status_t (*AIBinder_Class_onTransact)(AIBinder* binder, transaction_code_t code,
                                                     const AParcel* in, AParcel* out);

// Classes live for the whole process.
__attribute__((warn_unused_result)) AIBinder_Class* AIBinder_Class_define(
        const char* interfaceDescriptor, AIBinder_Class_onCreate onCreate,
        AIBinder_Class_onDestroy onDestroy, AIBinder_Class_onTransact onTransact)
        __INTRODUCED_IN(29);
const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz) __INTRODUCED_IN(31);

// A new local binder with one reference owned by the caller; onCreate(args) gives its user data.
__attribute__((warn_unused_result)) AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args)
        __INTRODUCED_IN(29);
bool AIBinder_isRemote(const AIBinder* binder) __INTRODUCED_IN(29);
// Last known state, no transaction; false for null.
bool AIBinder_isAlive(const AIBinder* binder) __INTRODUCED_IN(29);
// STATUS_OK, the transaction failure (STATUS_DEAD_OBJECT), or STATUS_UNEXPECTED_NULL for null.
binder_status_t AIBinder_ping(AIBinder* binder) __INTRODUCED_IN(29);

// Null binder/recipient: STATUS_UNEXPECTED_NULL. Local binder: STATUS_INVALID_OPERATION (the
// recipient's onUnlinked has run before the call returns). Dead proxy: STATUS_DEAD_OBJECT.
binder_status_t AIBinder_linkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                     void* cookie) __INTRODUCED_IN(29);
// Matches (binder, recipient, cookie); STATUS_NAME_NOT_FOUND when there is no such link.
binder_status_t AIBinder_unlinkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                       void* cookie) __INTRODUCED_IN(29);

void AIBinder_incStrong(AIBinder* binder) __INTRODUCED_IN(29);
void AIBinder_decStrong(AIBinder* binder) __INTRODUCED_IN(29);
int32_t AIBinder_debugGetRefCount(AIBinder* binder) __INTRODUCED_IN(29);

// Gives the binder its class; false if the binder implements another interface.
bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz) __INTRODUCED_IN(29);
const AIBinder_Class* AIBinder_getClass(AIBinder* binder) __INTRODUCED_IN(29);
// User data of a local binder; null for proxies.
void* AIBinder_getUserData(AIBinder* binder) __INTRODUCED_IN(29);

// Creates *in (caller owned) holding the interface token of the binder's class.
binder_status_t AIBinder_prepareTransaction(AIBinder* binder, AParcel** in) __INTRODUCED_IN(29);
// Takes ownership of *in (deleted, set to null, even on errors); *out is a new caller-owned reply.
binder_status_t AIBinder_transact(AIBinder* binder, transaction_code_t code, AParcel** in,
                                  AParcel** out, binder_flags_t flags) __INTRODUCED_IN(29);

__attribute__((warn_unused_result)) AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder)
        __INTRODUCED_IN(29);
void AIBinder_Weak_delete(AIBinder_Weak* weakBinder) __INTRODUCED_IN(29);
// A new strong reference owned by the caller, or null once the binder is gone.
__attribute__((warn_unused_result)) AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder)
        __INTRODUCED_IN(29);

typedef void (*AIBinder_DeathRecipient_onBinderDied)(void* cookie);
typedef void (*AIBinder_DeathRecipient_onBinderUnlinked)(void* cookie);

// Null for a null callback. onBinderDied runs on a thread of its own, then onUnlinked; onUnlinked
// runs exactly once per successful link (death, unlink or delete).
__attribute__((warn_unused_result)) AIBinder_DeathRecipient* AIBinder_DeathRecipient_new(
        AIBinder_DeathRecipient_onBinderDied onBinderDied) __INTRODUCED_IN(29);
void AIBinder_DeathRecipient_setOnUnlinked(AIBinder_DeathRecipient* recipient,
                                           AIBinder_DeathRecipient_onBinderUnlinked onUnlinked)
        __INTRODUCED_IN(33);
// Drops the recipient and all its links; a death delivery already under way still completes.
void AIBinder_DeathRecipient_delete(AIBinder_DeathRecipient* recipient) __INTRODUCED_IN(29);

bool AIBinder_lt(const AIBinder* lhs, const AIBinder* rhs) __INTRODUCED_IN(31);

__END_DECLS
