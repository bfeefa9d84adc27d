// QNResources.dll: the texts and the pictures of the suite by number, made at build time from strings.*.txt, one table a
// language, and pictures/*.svg.
#include "Resources/languages.h"
#include "Resources/picturetable.h"

#include "Platform/modules.h"

namespace {

struct RegisterResources {
    RegisterResources() {
        PlatModule module{};
        module.name = u"QNResources.dll";
        module.languages = kLanguages;
        module.languageCount = kLanguageCount;
        module.resources = kPictures;
        module.resourceCount = kPictureCount;
        PlatRegisterModule(module);
    }
} const g_registerResources;

} // namespace
