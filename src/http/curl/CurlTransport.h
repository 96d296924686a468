#pragma once
// The libcurl transport: asynchronous submissions move on the process-wide
// loader thread (connections to a server reused across requests), and
// synchronous ones on the calling thread's run loop.
#include "http/Transport.h"

namespace vork::http {

class CurlTransport : public Transport {
public:
    std::shared_ptr<Connection> start(ConnectionRequest request, ConnectionDelegate &delegate,
                                      Submission submission) override;
};

}  // namespace vork::http
