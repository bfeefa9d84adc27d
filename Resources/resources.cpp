// QNResources.dll: the texts of the suite by number, one table a language, made at build time from strings.*.txt.
#include "Resources/languages.h"

#include "Platform/modules.h"

namespace {

struct RegisterResources {
    RegisterResources() {
        PlatModule module{};
        module.name = u"QNResources.dll";
        module.languages = kLanguages;
        module.languageCount = kLanguageCount;
        PlatRegisterModule(module);
    }
} const g_registerResources;

} // namespace
