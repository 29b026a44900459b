// Does not compile: the name is a macro of the SDK.
#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace zelrtc::test {

enum class Step { CHECK };

}  // namespace zelrtc::test
