#include "kernel/app/replaced_modules.h"

namespace talvo {

Registry<Data>& GetReplacedModules() {
    static auto& modules = *new Registry<Data>("net.talvo.registry.replacemodule"_id);
    return modules;
}

}  // namespace talvo
