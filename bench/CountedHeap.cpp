// Linked around the provider's own calls of the heap (--wrap): counts what the provider holds, as the heap rounds it.
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <malloc.h>

namespace {

std::atomic<std::size_t> held{0};

template <class Pointer> Pointer Counted(Pointer fresh) {
    held += malloc_usable_size(fresh);
    return fresh;
}

} // namespace

extern "C" {

void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
char *__real_strdup(const char *text);
char *__real_strndup(const char *text, std::size_t length);
void __real_free(void *memory);

void *__wrap_malloc(std::size_t size) { return Counted(__real_malloc(size)); }
void *__wrap_calloc(std::size_t count, std::size_t size) { return Counted(__real_calloc(count, size)); }
char *__wrap_strdup(const char *text) { return Counted(__real_strdup(text)); }
char *__wrap_strndup(const char *text, std::size_t length) { return Counted(__real_strndup(text, length)); }
void __wrap_free(void *memory) {
    held -= malloc_usable_size(memory);
    __real_free(memory);
}

__attribute__((visibility("default"))) std::size_t QuarnelHeapBytes() { return held; }
}
