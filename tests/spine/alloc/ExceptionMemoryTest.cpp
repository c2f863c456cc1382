// Exceptions made while memory runs out: they must neither throw nor lose what they hold. The
// global operator new is replaced here, so this file is a program of its own, and it is not built
// with the sanitizers, whose runtimes replace operator new themselves.
#include <Kito/Exceptions>
#include <support/RecordingSink.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <list>
#include <new>
#include <string>
#include <vector>

// While failAllocations is on, every operator new of this thread fails. Off by default, so the
// rest of the test program allocates normally.
namespace {
thread_local bool failAllocations = false;
}

void* operator new(std::size_t size)
{
    if (failAllocations) throw std::bad_alloc();
    void* p = std::malloc(size == 0 ? 1 : size);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace {

namespace E = Tarn::Exceptions;

using TestSupport::RecordingSink;
using TestSupport::SinkRegistration;
using TestSupport::rule;

/// An InvalidArg with an error code, which no class of the family sets by itself.
class CodedFailure : public E::InvalidArg {
public:
    CodedFailure()
        : Exception("Invalid argument!", "", "Tarn::Test::coded", "Coded.cpp", 5), std::invalid_argument("coded"),
          InvalidArg("Tarn::Test::coded", "Coded.cpp", 5)
    {
        errorCode = 7;
    }
};

} // namespace

TEST(ExceptionMemory, ConstructionWithoutMemoryDoesNotThrowAndMarksDamaged)
{
    const std::string message = "The volume of this operator has more slices than the height map can hold";
    const std::string origin = "Tarn::Lumo::OrthogonalPlanarisationOperator::Operator::applyWithLongName";
    ASSERT_GT(message.size(), 64u);
    ASSERT_GT(origin.size(), 64u);
    alignas(E::InvalidState) unsigned char storage[sizeof(E::InvalidState)];
    bool threw = false;
    failAllocations = true;
    try {
        new (storage) E::InvalidState(message.c_str(), origin.c_str(), "f.cpp", 3);
    } catch (...) {
        threw = true;
    }
    failAllocations = false;
    ASSERT_FALSE(threw);
    auto* made = std::launder(reinterpret_cast<E::InvalidState*>(storage));
    EXPECT_TRUE(made->isDamaged());
    const std::string error = made->getErrorMessage();
    const std::string where = made->getOrigin();
    EXPECT_LT(error.size(), message.size());
    EXPECT_EQ(error, message.substr(0, error.size()));
    EXPECT_LT(where.size(), origin.size());
    EXPECT_EQ(where, origin.substr(0, where.size()));
    EXPECT_EQ(made->getFile(), "f.cpp");
    EXPECT_EQ(made->getLine(), 3u);
    EXPECT_EQ(made->getAdditionalInfoSize(), 0u); // no memory for the closing rule either
    made->~InvalidState();
}

TEST(ExceptionMemory, DamagedInstanceReportsTheWarning)
{
    RecordingSink sink;
    const SinkRegistration registration(&sink);
    alignas(E::InvalidState) unsigned char storage[sizeof(E::InvalidState)];
    failAllocations = true;
    // Short texts fit without allocation; the class name and the closing rule line do not.
    new (storage) E::InvalidState("short", "o", "f.cpp", 3);
    failAllocations = false;
    auto* made = std::launder(reinterpret_cast<E::InvalidState*>(storage));
    EXPECT_TRUE(made->isDamaged());
    EXPECT_EQ(made->getErrorMessage(), "short");
    EXPECT_EQ(sink.printed,
              "=======================================================================\n"
              " was thrown!\n"
              "-----------------------------------------------------------------------\n"
              "Error message:   short\n"
              "Error code:      0\n"
              "WARNING:        EXCEPTION INSTANCE IS DAMAGED BY INSUFFICIENT MEMORY!\n"
              "=======================================================================\n");
    made->~InvalidState();
}

TEST(ExceptionMemory, AddingInfoWithoutMemoryMarksDamaged)
{
    E::OutOfRange e("o", "f.h", 1);
    EXPECT_FALSE(e.isDamaged());
    failAllocations = true;
    e.addAdditionalInfo("a line that needs a list node");
    failAllocations = false;
    EXPECT_TRUE(e.isDamaged());
    EXPECT_EQ(e.getAdditionalInfoSize(), 1u);
}

TEST(ExceptionMemory, CopyWithoutMemoryDoesNotThrowAndMarksDamaged)
{
    const E::NotSupported original("A long message that certainly does not fit into a short string buffer", "o",
                                   "f.h", 1);
    alignas(E::NotSupported) unsigned char storage[sizeof(E::NotSupported)];
    failAllocations = true;
    new (storage) E::NotSupported(original);
    failAllocations = false;
    auto* copy = std::launder(reinterpret_cast<E::NotSupported*>(storage));
    EXPECT_TRUE(copy->isDamaged());
    EXPECT_FALSE(original.isDamaged());
    EXPECT_LT(copy->getErrorMessage().size(), original.getErrorMessage().size());
    copy->~NotSupported();
}
