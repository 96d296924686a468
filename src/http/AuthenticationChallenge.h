#pragma once
// An authentication challenge as the transport hands it to a request: the
// protection space's method, how often this exchange already failed, the
// credential the transport proposes (the one that failed), and the sender
// the answer goes to.
#include <optional>
#include <vector>

#include "http/URLCredential.h"

namespace vork::http {

enum class AuthenticationMethod { ServerTrust, ClientCertificate, Default, HTTPBasic, HTTPDigest, Other };

struct AuthenticationChallenge {
    AuthenticationMethod method = AuthenticationMethod::Other;
    int previousFailureCount = 0;
    std::optional<URLCredential> proposedCredential;
    // The result of evaluating the server's trust (1 proceed, 4 unspecified,
    // anything else a refusal); server-trust challenges only.
    int trustEvaluation = 0;
};

// Collects the answers to one challenge. The first answer decides what the
// transport does; an answer after it is recorded and has no effect, as the
// platform ignores a second answer to a challenge it already answered.
class ChallengeSender {
public:
    enum class Kind { UseCredential, ContinueWithoutCredential, Cancel };
    struct Answer {
        Kind kind;
        std::optional<URLCredential> credential;
    };

    void useCredential(URLCredential credential) { answers_.push_back({Kind::UseCredential, std::move(credential)}); }
    void continueWithoutCredential() { answers_.push_back({Kind::ContinueWithoutCredential, std::nullopt}); }
    void cancel() { answers_.push_back({Kind::Cancel, std::nullopt}); }

    const std::vector<Answer> &answers() const { return answers_; }
    // The deciding answer; continue without a credential when none came.
    Answer decision() const { return answers_.empty() ? Answer{Kind::ContinueWithoutCredential, {}} : answers_.front(); }

private:
    std::vector<Answer> answers_;
};

}  // namespace vork::http
