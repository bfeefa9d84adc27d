// The library's entry point: attach when it is loaded, detach when the process ends. The build puts this file last, so
// that its object is made after all other static objects of the library and ends before them.
#include "Platform/modules.h"
#include "QNTools/QNTools.h"

namespace {

class ProcessAttach {
public:
    ProcessAttach() {
        PlatModule self;
        self.name = u"QNTools.dll";
        g_hInstance = PlatRegisterModule(self);
        DisableThreadLibraryCalls(g_hInstance);
        InitNorvoDirectory();
    }
    // An application that forgets the call loses nothing.
    ~ProcessAttach() { UnInitQNTools(); }
};

const ProcessAttach g_attach;

} // namespace
