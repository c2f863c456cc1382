// A host built against the installed package: it calls a facade and prints what comes back.
#include <Kito/Kito>
#include <Lumo_MiscDispatcher_DLL/Lumo_MiscDispatcher_DLL.h>

#include <iostream>
#include <stdexcept>

int main()
{
    using Tarn::Kito::DynamicCast;
    using Tarn::Kito::SmartPointer;
    Tarn::Lumo_DLL::ISumOfVoxels::IOperator facade;
    SmartPointer<Tarn::Lumo_DLL::ISumOfVoxels::Parameter> parameter(new Tarn::Lumo_DLL::ISumOfVoxels::Parameter);
    try {
        facade.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(parameter));
    } catch (const std::invalid_argument& failure) {
        std::cout << failure.what() << "\n";
        return 0;
    }
    return 1;
}
