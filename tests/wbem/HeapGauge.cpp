// Preloaded into a program: tells whoever reads from the FIFO $HEAP_GAUGE how many bytes of the program's heap are in
// use.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <unistd.h>

namespace {

void *TellReaders(void *file) {
    for (;;) {
        const int fifo = open(static_cast<const char *>(file), O_WRONLY | O_CLOEXEC); // waits for a reader
        if (fifo < 0) return nullptr;
        dprintf(fifo, "%zu\n", mallinfo2().uordblks);
        close(fifo);
    }
}

// Signals are the program's.
__attribute__((constructor)) void Start() {
    char *file = getenv("HEAP_GAUGE");
    if (file == nullptr) return;
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    pthread_create(&thread, nullptr, TellReaders, file);
    pthread_detach(thread);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace
