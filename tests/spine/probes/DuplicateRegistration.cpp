// Two classes that name themselves alike: the second registration throws during static
// initialisation, so the program ends before main with the factory's text.
#include <Kito/Operator>

#include <cstdio>
#include <string>

namespace {

template <int N> class Twin : public Tarn::Kito::Operator<Twin<N>> {
public:
    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>) override {}
    std::string getType() const override { return "Test::Twin"; }
};

} // namespace

template class Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Twin<1>>;
template class Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Twin<2>>;

int main()
{
    std::printf("main was reached\n");
    return 0;
}
