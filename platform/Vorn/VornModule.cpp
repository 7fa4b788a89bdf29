// The value types of Vorn, for code that knows no types.

#include "Vorn/EthAddr.h"
#include "Vorn/IntfId.h"
#include "Vorn/Ip6Addr.h"
#include "Vorn/IpGenAddr.h"
#include "Vorn/MplsLabel.h"
#include "Zin/TypeModule.h"

constinit const Zin::ZinModule _Vorn_zinModule = Zin::moduleOf<
    Vorn::AddressFamily,
    Vorn::IntfId,
    Vorn::MplsLabel,
    Vorn::Ip6Addr,
    Vorn::IpGenAddr,
    Vorn::EthAddr>("Vorn");

namespace {

const Zin::ModuleRegistration registration(&_Vorn_zinModule);

}  // namespace
