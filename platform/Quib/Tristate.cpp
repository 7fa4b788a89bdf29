#include "Quib/Tristate.h"

#include "Zin/NboAttrLogIn.h"

namespace Quib {

template <class Number>
Tristate<Number> Tristate<Number>::attrLogNext(Zin::NboAttrLog::In& in) {
    const Zin::NboAttrLog::In start = in;
    const bool isSet = in.nextbool();
    const Number value = in.next<Number>();
    if (!isSet && value != 0)
        start.fail("unset with a zero", "unset with " + std::to_string(value));
    return Tristate(isSet, value);
}

template ZIN_EXPORT TristateU16 TristateU16::attrLogNext(Zin::NboAttrLog::In& in);
template ZIN_EXPORT TristateU32 TristateU32::attrLogNext(Zin::NboAttrLog::In& in);

}  // namespace Quib
