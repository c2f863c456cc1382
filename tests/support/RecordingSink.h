// RecordingSink: a report sink that keeps what the exceptions of the Tarn family report, and its
// registration for the length of a test.
#ifndef TARN_TESTS_SUPPORT_RECORDINGSINK_H_INCLUDED
#define TARN_TESTS_SUPPORT_RECORDINGSINK_H_INCLUDED

#include <Kito/Exceptions>

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace TestSupport {

/// Collects what the exceptions report. print() writes into storage reserved up front, so that it
/// also works while allocations fail.
class RecordingSink : public Tarn::Exceptions::IReportSink {
public:
    RecordingSink() { printed.reserve(8192); }
    void print(const char* format, ...) override
    {
        char buffer[1024];
        va_list args;
        va_start(args, format);
        const int n = std::vsnprintf(buffer, sizeof buffer, format, args);
        va_end(args);
        if (n > 0 && printed.size() + static_cast<std::size_t>(n) <= printed.capacity()) printed.append(buffer);
    }
    void message(const std::string& text) override { messages.push_back(text); }

    std::string printed;
    std::vector<std::string> messages;
};

/// Registers a sink for the lifetime of a test.
class SinkRegistration {
public:
    explicit SinkRegistration(Tarn::Exceptions::IReportSink* s) : sink(s) { Tarn::Exceptions::addReportSink(sink); }
    ~SinkRegistration() { Tarn::Exceptions::removeReportSink(sink); }
    SinkRegistration(const SinkRegistration&) = delete;
    SinkRegistration& operator=(const SinkRegistration&) = delete;

private:
    Tarn::Exceptions::IReportSink* sink;
};

/// The line that closes every report's additional information.
inline const std::string rule = "=======================================================================";

} // namespace TestSupport

#endif
