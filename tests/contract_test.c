/* The contract header read by a C compiler, and the built library as a host's linker sees it. */
#include <dlfcn.h>
#include <stdio.h>

#include "plugin/tamborin.h"

static int releases;

static int32_t receive(const HostMessage* message, int32_t reserved) {
    (void)reserved;
    releases += message->kind == KindBufferRelease;
    return message->kind == KindLog ? LogError : 0;
}

int main(int argc, char** argv) {
    void* module = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
    if (module == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    int64_t (*load)(const HostTable*, ModuleInfo*);
    int64_t (*ioctl)(const IoctlRequest*, IoctlResult*);
    int64_t (*unload)(void);
    *(void**)&load = dlsym(module, "Load");
    *(void**)&ioctl = dlsym(module, "IOCTL");
    *(void**)&unload = dlsym(module, "Unload");
    HostTable table = {.hostCallback = receive};
    ModuleInfo info = {.moduleId = 0};
    load(&table, &info);
    IoctlRequest request = {.code = IoctlConfiguration, .length = 4, .data = "<a/>"};
    IoctlResult result = {.accepted = 0};
    ioctl(&request, &result);
    unload();
    return info.moduleId == ModuleId && result.accepted == 1 && releases == 1 ? 0 : 1;
}
