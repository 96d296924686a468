#include "base/Exception.h"

namespace vork {

std::string describeException(const std::exception_ptr &error) {
    if (!error) return {};
    try {
        std::rethrow_exception(error);
    } catch (const Exception &e) {
        return e.description();
    } catch (const std::exception &e) {
        return e.what();
    } catch (...) {
        return "Unknown exception";
    }
}

}  // namespace vork
