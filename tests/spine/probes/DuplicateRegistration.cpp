// Two classes that name themselves alike: the second registration throws during static
// initialisation, so the program ends before main with the factory's text.
#include <Kito/Operator>

#include <cstdio>
#include <exception>
#include <string>

namespace {

template <int N> class Twin : public Tarn::Kito::Operator<Twin<N>> {
public:
    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>) override {}
    std::string getType() const override { return "Test::Twin"; }
};

// Print what stopped the load where the test can read it, then end as terminate would.
void reportAndAbort()
{
    try {
        throw;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
    }
    std::fflush(stderr);
    std::_Exit(3);
}

const bool handlerSet = (std::set_terminate(reportAndAbort), true);

} // namespace

template class Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Twin<1>>;
template class Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Twin<2>>;

int main()
{
    std::printf("main was reached\n");
    return handlerSet ? 0 : 1;
}
