// FailureOf: what an action threw, as text, so that tests compare failures to the character.
#ifndef TARN_TESTS_SUPPORT_FAILUREOF_H_INCLUDED
#define TARN_TESTS_SUPPORT_FAILUREOF_H_INCLUDED

#include <Kito/Exceptions>
#include <Kito/Operator>

#include <stdexcept>
#include <string>

namespace TestSupport {

/// A failure of the Tarn family, field by field; className stays "no failure" if nothing of the
/// family was thrown.
struct TarnFailure {
    std::string className = "no failure";
    std::string gui;
    std::string error;
    std::string origin;
    std::string file;
};

template <class F> TarnFailure tarnFailureOf(F&& action)
{
    TarnFailure result;
    try {
        action();
    } catch (const Tarn::Exceptions::Exception& failure) {
        result.className = failure.getClassName();
        result.gui = failure.what();
        result.error = failure.getErrorMessage();
        result.origin = failure.getOrigin();
        result.file = failure.getFile();
    }
    return result;
}

/// The dispatch layer's failure, prefixed "parameter: " so that a test also sees its class; any
/// other std::invalid_argument (the factory's) as its bare text; "no failure" otherwise.
template <class F> std::string invalidArgumentOf(F&& action)
{
    try {
        action();
    } catch (const Tarn::Kito::IOperator::InvalidParameterObjectException& failure) {
        return std::string("parameter: ") + failure.what();
    } catch (const std::invalid_argument& failure) {
        return failure.what();
    }
    return "no failure";
}

} // namespace TestSupport

#endif
