// The module's two exported entry points; every other symbol is hidden.
#include "module/Registry.h"
#include "runtime/ComponentAccess.h"

#define FLUKO_EXPORT extern "C" __attribute__((visibility("default")))

// Keeps one reference on the host's collection until the next call or
// unload; null releases the one held.
FLUKO_EXPORT HRESULT InitializeModule(void* /*reserved*/, IComponentCollection* collection) {
    GLOBALSetComponents(collection);
    return S_OK;
}

FLUKO_EXPORT HRESULT CreateFunction(tagREFString name, CREATEFUNCTION* creator) {
    return MODULEFindCreator(name, creator);
}
