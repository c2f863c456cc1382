#include <AncillaryKitoOperators/DllOperator>

namespace Tarn::AncillaryKitoOperators::DLL {

using Tarn::Kito::SmartPointer;

Operator::Operator() = default;

Operator::Operator(const Operator&) : Tarn::Kito::IOperator() {}

Operator::~Operator() = default;

Operator& Operator::operator=(const Operator&) { return *this; }

void Operator::apply(SmartPointer<Tarn::Kito::Persistence::IComposite> parameter)
{
    SmartPointer<Tarn::Kito::IOperator> chosen = getOperatorFromParameterObject(parameter);
    current = chosen;
    chosen->apply(parameter);
}

Tarn::Kito::Progress Operator::getProgress() const
{
    const SmartPointer<Tarn::Kito::IOperator> running(current);
    if (running == 0) return Tarn::Kito::Progress();
    return running->getProgress();
}

void Operator::abort()
{
    const SmartPointer<Tarn::Kito::IOperator> running(current);
    if (running != 0) running->abort();
}

} // namespace Tarn::AncillaryKitoOperators::DLL
