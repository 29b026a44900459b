// Does not compile: the name is a macro of the SDK's.
#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace zelrtc::test {

enum class Step { CHECK };

}  // namespace zelrtc::test
