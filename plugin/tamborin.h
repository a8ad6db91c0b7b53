/* The contract between Tamborin and the program that hosts it.
 *
 * Tamborin records and plays a machine's sound cards for a host program. The host loads
 * libtamborin.so and drives it through the six functions at the end of this file. The module
 * answers through one callback of the host:
 *
 *     HostTable table = {.hostCallback = myCallback};
 *     ModuleInfo info = {0};
 *     Load(&table, &info);
 *     Open();                                     // announces the module to myCallback
 *     // on a thread of its own:
 *     IoctlRequest run = {.code = IoctlRun};
 *     IoctlResult none = {0};
 *     IOCTL(&run, &none);                         // returns only after Close
 *     // from any other thread, meanwhile: IOCTL with documents, Write with audio
 *     Close();                                    // then join the thread above
 *     Unload();
 *
 * The rules of the boundary:
 *
 *  1. Every function always returns 0. A request's result record says whether it was accepted.
 *  2. Fields are little-endian, at the offsets asserted below. Records are read or written only
 *     during the call. Pointers to records are never null.
 *  3. A buffer that the host passes in stays the host's unless the call sets `accepted` to 1. An
 *     accepted buffer belongs to the module, which reads it and never writes it, until it comes
 *     back with exactly one KindBufferRelease record: that may happen on another thread, and even
 *     before the call that accepted it has returned.
 *  4. A HostMessage and the module's data in it are valid only until the callback returns.
 *  5. The callback is called on the threads that call IoctlRun, Open and Unload, on several at
 *     once. It is never called on a real-time audio thread. It must not throw, and must not call
 *     Unload. It may call the other functions, with one exception: during a KindLog record it must
 *     neither call Write nor wait for a thread that does. The module may hold an output's lock
 *     while it logs, and Write would wait for that lock.
 *  6. All audio is G.711 mu-law, 8000 Hz, mono, one byte per sample.
 *  7. The module starts no thread of its own; the audio library runs one for each open stream.
 *
 * The settings are kept in "tamborin.xml" in the process's working directory.
 *
 * This file is valid C11 and C++20 and includes no other file of the module.
 */
#ifndef TAMBORIN_H
#define TAMBORIN_H
/* NOLINTBEGIN(modernize-*): C reads this file, too */

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Identity. A channel's ID is ((Number + 16) & 0xFF) | ChannelIdBase; channel 0 is 0x140110. */
enum {
    ModuleId = 0x140000,
    ModuleIdMask = 0xFF0000, /* the bits of a Write target that name the module */
    ChannelIdBase = 0x140100
};
#define TAMBORIN_NAME "Tamborin"
#define TAMBORIN_VERSION "26.1.7.3"

/* ---------------------------------------------------------------- module to host */

/* HostMessage.kind */
enum {
    KindAudio = 2,            /* a captured frame */
    KindStatusDocument = 4,   /* XML: device status, on every change between ok and alarmed */
    KindLog = 64,             /* a log line, or the question which lines are wanted */
    KindModuleDocument = 256, /* XML: the announcement, and the description of all channels */
    KindBufferRelease = 512   /* data is a host buffer that the module hands back */
};

/* The only audio format: the rate in Hz, and the samples of a captured frame. Of a written block no
 * more are played. In C++20 they are no enumerators, because it deprecates arithmetic of
 * enumerators with doubles. */
#ifdef __cplusplus
constexpr int32_t AudioSampleRate = 8000;
constexpr int32_t AudioFrameSamples = 2048;
#else
enum { AudioSampleRate = 8000, AudioFrameSamples = 2048 };
#endif

/* HostMessage.type */
enum {
    TypeLogLevelQuery = 0x1000001,
    TypeLogText = 0x1000002,
    TypeDocument = 0x1000010,
    TypeAudio = 0x1000080
};

/* HostMessage.level */
enum {
    LogDetail = 0,  /* routine detail; texts above 2048 bytes come whole, at other levels cut */
    LogInfo = 25,   /* progress and findings */
    LogNotice = 50, /* changes of state */
    LogError = 75   /* failures */
};

/* The one record in which everything goes to the host. Fields that a kind does not use are 0. */
typedef struct HostMessage {
    uint32_t size;    /* always 224 */
    uint32_t version; /* always 1 */
    uint32_t length;  /* bytes at data: text without a terminating zero, or mu-law samples; 2048 for
                         a log text that was cut (2047 characters and a zero byte) */
    uint32_t reserved0;
    const void* data;
    int64_t sourceId; /* ModuleId; for audio the channel's ID */
    uint64_t reserved1;
    int64_t kind;
    uint64_t type;
    uint32_t detailSize;    /* 168 for log text and audio, else 0 */
    uint32_t detailVersion; /* 1 for log text and audio, else 0 */
    uint64_t level;         /* log text */
    uint64_t seconds;       /* audio: Unix time of capture */
    uint16_t milliseconds;  /* audio: 0 to 999 */
    uint8_t reserved2[142];
} HostMessage;

static_assert(sizeof(HostMessage) == 224, "HostMessage");
static_assert(offsetof(HostMessage, size) == 0, "size");
static_assert(offsetof(HostMessage, version) == 4, "version");
static_assert(offsetof(HostMessage, length) == 8, "length");
static_assert(offsetof(HostMessage, data) == 16, "data");
static_assert(offsetof(HostMessage, sourceId) == 24, "sourceId");
static_assert(offsetof(HostMessage, kind) == 40, "kind");
static_assert(offsetof(HostMessage, type) == 48, "type");
static_assert(offsetof(HostMessage, detailSize) == 56, "detailSize");
static_assert(offsetof(HostMessage, detailVersion) == 60, "detailVersion");
static_assert(offsetof(HostMessage, level) == 64, "level");
static_assert(offsetof(HostMessage, seconds) == 72, "seconds");
static_assert(offsetof(HostMessage, milliseconds) == 80, "milliseconds");
static_assert(offsetof(HostMessage, reserved2) == 82, "reserved2");

/* The host's callback. The second argument is always 0. The module uses the return value of
 *   TypeLogLevelQuery                 the lowest level wanted: lines below it are not sent
 *   KindAudio and the two documents   1 asks the module to stop, as Close does
 * and ignores all others. */
typedef int32_t (*HostCallback)(const HostMessage* message, int32_t reserved);

/* ---------------------------------------------------------------- host to module */

typedef struct HostTable {
    uint8_t reserved[16];
    HostCallback hostCallback; /* must stay callable until Unload has returned */
} HostTable;

static_assert(offsetof(HostTable, hostCallback) == 16, "hostCallback");

/* Filled by Load, which writes the named fields and leaves every other byte alone. */
typedef struct ModuleInfo {
    uint8_t reserved0[8];
    uint64_t moduleId; /* ModuleId */
    uint8_t reserved1[8];
    uint64_t audioTypes;    /* always AudioTypes */
    uint64_t documentTypes; /* always DocumentTypes */
    uint8_t reserved2[56];
    uint8_t capability0; /* always 1 */
    uint8_t reserved3[2];
    uint8_t capability1; /* always 1 */
} ModuleInfo;

/* Fixed values; a host need not read them. */
enum { AudioTypes = 0x3000080, DocumentTypes = 0x3000010 };

static_assert(offsetof(ModuleInfo, moduleId) == 8, "moduleId");
static_assert(offsetof(ModuleInfo, audioTypes) == 24, "audioTypes");
static_assert(offsetof(ModuleInfo, documentTypes) == 32, "documentTypes");
static_assert(offsetof(ModuleInfo, capability0) == 96, "capability0");
static_assert(offsetof(ModuleInfo, capability1) == 99, "capability1");

/* IoctlRequest.code */
enum {
    IoctlRun = 1,           /* run the module on this thread; returns after Close */
    IoctlConfiguration = 2, /* payload: a configuration document (XML) to apply */
    IoctlHostDocument = 3,  /* payload: accepted, then handed back without effect */
    IoctlReply = 4          /* ignored; the payload is not accepted */
};

typedef struct IoctlRequest {
    uint8_t reserved0[8];
    int32_t code;
    uint8_t reserved1[12];
    uint32_t length; /* bytes at data; a payload of 0 is not accepted */
    uint32_t reserved2;
    const void* data; /* null with a length above 0 is accepted, but never handed back */
} IoctlRequest;

static_assert(sizeof(IoctlRequest) == 40, "IoctlRequest");
static_assert(offsetof(IoctlRequest, code) == 8, "code");
static_assert(offsetof(IoctlRequest, length) == 24, "length");
static_assert(offsetof(IoctlRequest, data) == 32, "data");

typedef struct IoctlResult {
    uint8_t reserved[16];
    uint32_t accepted; /* set to 1 when the module accepts the payload, else untouched */
} IoctlResult;

static_assert(sizeof(IoctlResult) == 20, "IoctlResult");
static_assert(offsetof(IoctlResult, accepted) == 16, "accepted");

typedef struct WriteRecord {
    uint8_t reserved0[16];
    uint32_t length; /* mu-law samples at data; 0 is accepted and handed back, too */
    uint32_t reserved1;
    const void* data;
    int64_t targetId; /* the low 32 bits are the ID of an output channel */
    uint8_t reserved2[16];
    uint64_t type; /* TypeAudio */
} WriteRecord;

static_assert(sizeof(WriteRecord) == 64, "WriteRecord");
static_assert(offsetof(WriteRecord, length) == 16, "length");
static_assert(offsetof(WriteRecord, data) == 24, "data");
static_assert(offsetof(WriteRecord, targetId) == 32, "targetId");
static_assert(offsetof(WriteRecord, type) == 56, "type");

typedef struct WriteResult {
    uint8_t reserved[28];
    uint32_t accepted; /* set to 1 when the module accepts the audio, else untouched */
} WriteResult;

static_assert(sizeof(WriteResult) == 32, "WriteResult");
static_assert(offsetof(WriteResult, accepted) == 28, "accepted");

/* ---------------------------------------------------------------- the six functions */

#define TAMBORIN_API __attribute__((visibility("default")))

/* Creates the module, keeps hostTable->hostCallback and fills moduleInfo. Called before all other
 * functions, and again only after Unload. When memory is short, moduleInfo stays unchanged and no
 * module is created; every other call then does nothing. */
TAMBORIN_API int64_t Load(const HostTable* hostTable, ModuleInfo* moduleInfo);

/* Sends the announcement document. Any thread, after Load. */
TAMBORIN_API int64_t Open(void);

/* Acts on request->code. IoctlRun: one thread, once; it blocks until Close and does all the
 * module's work. That thread must not be cancelled (pthread_cancel): locks would stay locked.
 * IoctlConfiguration and IoctlHostDocument: any thread, any time between Load and Unload; they
 * queue the payload and return at once. The payload is not accepted when memory is short. After
 * Close every code is ignored. */
TAMBORIN_API int64_t IOCTL(const IoctlRequest* request, IoctlResult* result);

/* Queues audio on an output channel; any thread between Load and Unload. The buffer is not accepted
 * when type lacks a bit of TypeAudio, the target is another module, an input or an unknown channel,
 * data is null, or memory is short. The first 2048 samples (256 ms) of a block are played and the
 * rest is dropped. Shorter blocks join without a gap. After Close audio is still accepted and comes
 * back in Unload. May wait while the addressed channel's stream is being opened or closed; never
 * waits for another channel. */
TAMBORIN_API int64_t Write(const WriteRecord* record, WriteResult* result);

/* Asks the module to stop; IoctlRun then returns soon. Any thread; never waits. */
TAMBORIN_API int64_t Close(void);

/* Hands back every buffer still held, closes the audio system and frees the module. Called after
 * IoctlRun has returned, when no other call is in progress. Does nothing without Load. */
TAMBORIN_API int64_t Unload(void);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-*) */
#endif
