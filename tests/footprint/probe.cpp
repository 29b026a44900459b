// Prints the run-time cost of a session as JSON: its size, the heap it holds, and the stack that each operation and
// handler touches. The stub SDK uses next to no stack itself.
#include <malloc.h>
#include <ucontext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "stub_sdk.h"
#include "zelwebrtc_session.h"

namespace {

const size_t kStackSize = 1024 * 1024;
const unsigned char kPaint = 0xa5;
// As long as the URLs that TURN services hand out.
const char kServerUrl[] = "turns:192-0-2-17.turn.service.example.net:443?transport=tcp";
const char kServerUser[] = "1767225600:arn-of-a-channel-or-a-user-name-of-this-length/0123456789abcdef";
const char kServerCredential[] = "bm90IGEgcmVhbCBzZWNyZXQsIGp1c3QgbG9uZyBlbm91Z2g=";

long heapHeld = 0;
bool isFirst = true;

ZelRtcSessionConfig configWithServers(size_t count, bool trickle) {
    ZelRtcSessionConfig config;
    config.trickleIce = trickle;
    for (size_t i = 0; i < count; i++) {
        config.iceServers.push_back(ZelRtcIceServer{kServerUrl, kServerUser, kServerCredential});
    }
    return config;
}

// Built before anything is measured.
const std::string kOffer(4000, 'o');

// What the operations work on: built before the painted thread starts, so that only the operation is measured.
struct Scene {
    explicit Scene(bool trickle) : config(configWithServers(5, trickle)), callback(), session(7, config, &callback) {
    }
    ZelRtcSessionConfig config;
    ZelWebrtcSessionCallback callback;
    ZelRtcSession session;
};

struct Operation {
    const char* name;
    bool trickle;
    void (*prepare)(Scene&);
    void (*run)(Scene&);
};

void prepareNothing(Scene&) {
}

void prepareCall(Scene& scene) {
    scene.session.init(kOffer);
}

void prepareConnected(Scene& scene) {
    prepareCall(scene);
    stubHandlers.onStateChange(stubHandlers.customData, RTC_PEER_CONNECTION_STATE_CONNECTED);
}

Frame emptyFrame() {
    Frame frame;
    memset(&frame, 0x00, sizeof(frame));
    return frame;
}

uint8_t media[16];
Frame received = emptyFrame();
char candidateText[] = "{\"candidate\":\"candidate:1 1 udp 1 192.0.2.2 9 typ host\"}";
// For constructing and destroying a session in place, which keeps the allocator's stack out of the measurement.
alignas(ZelRtcSession) unsigned char sessionPlace[sizeof(ZelRtcSession)];

void prepareDestruction(Scene& scene) {
    ZelRtcSession* session = new (sessionPlace) ZelRtcSession(8, scene.config, nullptr);
    session->init(kOffer);
}

// The cost of calling any operation at all.
const Operation kNothing = {"nothing", true, prepareNothing, [](Scene&) {}};

const Operation kOperations[] = {
    {"ZelRtcSession", true, prepareNothing,
     [](Scene& scene) { new (sessionPlace) ZelRtcSession(8, scene.config, nullptr); }},
    {"init (trickle)", true, prepareNothing, [](Scene& scene) { scene.session.init(kOffer); }},
    {"init (complete answer)", false, prepareNothing, [](Scene& scene) { scene.session.init(kOffer); }},
    {"addRemoteCandidate", true, prepareCall, [](Scene& scene) { scene.session.addRemoteCandidate(kOffer); }},
    {"setAudioVideoType", true, prepareCall, [](Scene& scene) { scene.session.setAudioVideoType(1, 2); }},
    {"writeVideoData", true, prepareConnected,
     [](Scene& scene) { scene.session.writeVideoData(media, sizeof(media), 1000, ZELRTC_FRAME_FLAG_KEY_FRAME, 1); }},
    {"writeAudioData", true, prepareConnected,
     [](Scene& scene) { scene.session.writeAudioData(media, sizeof(media), 1000, 0); }},
    {"teminate", true, prepareCall, [](Scene& scene) { scene.session.teminate(); }},
    {"getState", true, prepareNothing, [](Scene& scene) { scene.session.getState(); }},
    {"getSessionId", true, prepareNothing, [](Scene& scene) { scene.session.getSessionId(); }},
    {"~ZelRtcSession", true, prepareDestruction,
     [](Scene&) { reinterpret_cast<ZelRtcSession*>(sessionPlace)->~ZelRtcSession(); }},
    {"onIceCandidateHandler (a candidate)", true, prepareCall,
     [](Scene&) { stubHandlers.onIceCandidate(stubHandlers.customData, candidateText); }},
    {"onIceCandidateHandler (end of gathering)", false, prepareCall,
     [](Scene&) { stubHandlers.onIceCandidate(stubHandlers.customData, nullptr); }},
    {"onConnectionStateChange", true, prepareCall,
     [](Scene&) { stubHandlers.onStateChange(stubHandlers.customData, RTC_PEER_CONNECTION_STATE_CONNECTED); }},
    {"onVideoFrameHandler", true, prepareConnected,
     [](Scene&) { stubHandlers.onFrame[0](stubHandlers.customData, &received); }},
    {"onAudioFrameHandler", true, prepareConnected,
     [](Scene&) { stubHandlers.onFrame[1](stubHandlers.customData, &received); }},
    {"onBandwidthEstimation", true, prepareConnected,
     [](Scene&) { stubHandlers.onBandwidth[0](stubHandlers.customData, 500000.0); }},
    {"onSenderBandwidthEstimation", true, prepareConnected,
     [](Scene&) { stubHandlers.onSenderBandwidth(stubHandlers.customData, 1, 1, 1, 1, 1); }},
};

ucontext_t mainContext;
ucontext_t paintedContext;
const Operation* currentOperation;
Scene* currentScene;
unsigned char paintedStack[kStackSize];
size_t untouchedStack;

// Inspects the paint before it returns: switching back to the other stack touches this one.
void runCurrentOperation() {
    currentOperation->run(*currentScene);
    for (untouchedStack = 0; paintedStack[untouchedStack] == kPaint; untouchedStack++) {
    }
}

// Bytes that one run of the operation touches on a painted stack, including the way to it.
size_t touchedStack(const Operation& operation) {
    Scene scene(operation.trickle);
    operation.prepare(scene);
    currentOperation = &operation;
    currentScene = &scene;

    memset(paintedStack, kPaint, sizeof(paintedStack));
    getcontext(&paintedContext);
    paintedContext.uc_stack.ss_sp = paintedStack;
    paintedContext.uc_stack.ss_size = sizeof(paintedStack);
    paintedContext.uc_link = &mainContext;
    makecontext(&paintedContext, runCurrentOperation, 0);
    swapcontext(&mainContext, &paintedContext);
    return sizeof(paintedStack) - untouchedStack;
}

void printFigure(const char* name, long value) {
    std::printf("%s\n  \"%s\": %ld", isFirst ? "" : ",", name, value);
    isFirst = false;
}

void printHeap(size_t serverCount) {
    const ZelRtcSessionConfig config = configWithServers(serverCount, true);
    const long before = heapHeld;
    long held = 0;
    {
        ZelRtcSession session(7, config, nullptr);
        session.init(kOffer);
        held = heapHeld - before;
    }
    if (heapHeld != before) {
        throw std::runtime_error("a destroyed session left memory behind");
    }
    printFigure(("heap " + std::to_string(serverCount)).c_str(), held);
}

}  // namespace

// Counts the library's allocations; the size is what the C library really set aside.
void* operator new(size_t size) {
    void* memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    heapHeld += static_cast<long>(malloc_usable_size(memory));
    return memory;
}

void operator delete(void* memory) noexcept {
    heapHeld -= static_cast<long>(malloc_usable_size(memory));
    std::free(memory);
}

void operator delete(void* memory, size_t) noexcept {
    operator delete(memory);
}

int main() {
    std::printf("{");
    printFigure("object", static_cast<long>(sizeof(ZelRtcSession)));
    for (const size_t serverCount : {0, 5, 21}) {
        printHeap(serverCount);
    }
    const size_t nothing = touchedStack(kNothing);
    for (const Operation& operation : kOperations) {
        printFigure((std::string("stack ") + operation.name).c_str(),
                    static_cast<long>(touchedStack(operation) - nothing));
    }
    std::printf("\n}\n");
    return 0;
}
