#include "Allocations.h"

#include "com/error.h"
#include "support/Holdings.h"

#include <cstdint>
#include <cstdlib>
#include <new>
#include <objidl.h>
#include <unordered_set>
#include <utility>

namespace allocations {
namespace {

bool g_watched = false;
int g_pauses = 0;
DWORD g_thread = 0;
std::optional<Fault> g_fault;
size_t g_count = 0;
long g_live = 0;
std::function<void()> g_whenFailing;

} // namespace

bool isWatched()
{
    return g_watched && g_pauses == 0 && GetCurrentThreadId() == g_thread;
}

bool mayAllocate()
{
    ++g_count;
    const bool fails = g_fault && (g_fault->lasting ? g_count >= g_fault->at : g_count == g_fault->at);
    if (fails && g_whenFailing) {
        const Unwatched own;
        std::exchange(g_whenFailing, {})();
    }
    return !fails;
}

namespace {

/// Sees every block of the task allocator. Its texts are only seen with the cache of oleaut32 off.
class TaskWatch final : public IMallocSpy
{
public:
    virtual ~TaskWatch() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interfaceId, void** object) noexcept override
    {
        const bool known = interfaceId == IID_IUnknown || interfaceId == IID_IMallocSpy;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    // One for the life of the program.
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return 2; }
    ULONG STDMETHODCALLTYPE Release() noexcept override { return 1; }

    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) noexcept override
    {
        watchedCall_ = isWatched();
        return size;
    }
    void* STDMETHODCALLTYPE PostAlloc(void* block) noexcept override
    {
        if (std::exchange(watchedCall_, false) && block)
            remember(block);
        return block;
    }
    void* STDMETHODCALLTYPE PreFree(void* block, BOOL) noexcept override
    {
        forget(block);
        return block;
    }
    void STDMETHODCALLTYPE PostFree(BOOL) noexcept override {}
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* block, SIZE_T size, void** renewed, BOOL) noexcept override
    {
        *renewed = block;
        watchedCall_ = forget(block) || isWatched();
        return size;
    }
    void* STDMETHODCALLTYPE PostRealloc(void* block, BOOL) noexcept override
    {
        if (std::exchange(watchedCall_, false) && block)
            remember(block);
        return block;
    }
    void* STDMETHODCALLTYPE PreGetSize(void* block, BOOL) noexcept override { return block; }
    SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T size, BOOL) noexcept override { return size; }
    void* STDMETHODCALLTYPE PreDidAlloc(void* block, BOOL) noexcept override { return block; }
    int STDMETHODCALLTYPE PostDidAlloc(void*, BOOL, int actual) noexcept override { return actual; }
    void STDMETHODCALLTYPE PreHeapMinimize() noexcept override {}
    void STDMETHODCALLTYPE PostHeapMinimize() noexcept override {}

private:
    void remember(void* block)
    {
        const Unwatched own;
        if (blocks_.insert(block).second)
            ++g_live;
    }
    bool forget(void* block)
    {
        const Unwatched own;
        const bool known = blocks_.erase(block) > 0;
        g_live -= known ? 1 : 0;
        return known;
    }

    std::unordered_set<void*> blocks_;
    bool watchedCall_ = false;
};

/// Stands in front of every block of `operator new`; its size keeps the block's alignment.
struct Header
{
    std::uintptr_t watched;
    std::uintptr_t padding[3];
};

} // namespace

void watch()
{
    g_thread = GetCurrentThreadId();
    withoutTextCache();
    static TaskWatch taskWatch;
    com::check(CoRegisterMallocSpy(&taskWatch));
    hookAutomation();
}

void begin(std::optional<Fault> fault, std::function<void()> whenFailing)
{
    g_fault = fault;
    g_whenFailing = std::move(whenFailing);
    g_count = 0;
}

void heal()
{
    g_fault.reset();
}

size_t count()
{
    return g_count;
}

long live()
{
    return g_live;
}

Watched::Watched()
{
    g_watched = true;
}

Watched::~Watched()
{
    g_watched = false;
}

void pause()
{
    g_pauses += GetCurrentThreadId() == g_thread ? 1 : 0;
}

void resume()
{
    g_pauses -= GetCurrentThreadId() == g_thread ? 1 : 0;
}

namespace {

void* allocate(size_t size)
{
    const bool watched = isWatched();
    if (watched && !mayAllocate())
        return nullptr;
    auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
    if (!header)
        return nullptr;
    header->watched = watched ? 1 : 0;
    if (watched)
        ++g_live;
    return header + 1;
}

void release(void* block)
{
    if (!block)
        return;
    Header* header = static_cast<Header*>(block) - 1;
    if (header->watched)
        --g_live;
    std::free(header);
}

} // namespace
} // namespace allocations

void* operator new(size_t size)
{
    if (void* block = allocations::allocate(size))
        return block;
    throw std::bad_alloc();
}

void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return allocations::allocate(size);
}

void operator delete(void* block) noexcept
{
    allocations::release(block);
}

void operator delete(void* block, size_t) noexcept
{
    allocations::release(block);
}
