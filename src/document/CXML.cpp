#include "document/CXML.hpp"

#include "runtime/process/ConsoleApplication.hpp"

#include <utility>

namespace hearthix {

CXML::CXML() : Values(Ref<Dictionary>::make()) {
}

// Takes the tree apart from the top, so that no destructor runs inside another one's. What waits for its turn
// is a list through the places 0, which hold no container: a destructor must do without memory.
CXML::~CXML() {
    Ref<CXML> waiting;
    const auto collect = [&waiting](Array<Ref<CXML>>& children) {
        for (std::int64_t i = 0; i <= children.Ubound(); ++i) {
            Ref<CXML> orphan = std::exchange(children[i], nullptr);
            while (orphan && orphan->referenceCount() == 1) {
                Ref<CXML> former = std::exchange(orphan->Containers[0], std::move(waiting));
                waiting = std::move(orphan);
                orphan = std::move(former);
            }
        }
    };
    collect(Containers);
    while (waiting) {
        const Ref<CXML> node = waiting;
        waiting = std::exchange(node->Containers[0], nullptr);
        collect(node->Containers);
    }
}

void CXML::Release() {
    std::vector<Ref<CXML>> waiting{Ref<CXML>(this)};
    while (!waiting.empty()) {
        const Ref<CXML> node = std::move(waiting.back());
        waiting.pop_back();
        for (std::int64_t i = 0; i <= node->Containers.Ubound(); ++i) {
            if (node->Containers[i])
                waiting.push_back(std::exchange(node->Containers[i], nullptr));
            RuntimeBackgroundTask();
        }
    }
}

Ref<CXML> CXML::Clone() const {
    struct Pair {
        const CXML* source;
        CXML* copy;
    };
    auto root = Ref<CXML>::make();
    std::vector<Pair> waiting{{this, root.get()}};
    while (!waiting.empty()) {
        const auto [source, copy] = waiting.back();
        waiting.pop_back();
        copy->Name = source->Name;
        copy->ValueBuffer.Resize(source->ValueBuffer.Ubound());
        for (std::int64_t i = 1; i <= source->ValueBuffer.Ubound(); ++i)
            copy->ValueBuffer[i] = source->ValueBuffer[i];
        const Integer count = source->Values->Count();
        copy->Values = Ref<Dictionary>::make(static_cast<std::size_t>(count));
        for (Integer i = 0; i < count; ++i) {
            copy->Values->SetValue(source->Values->Key(i), source->Values->ValueAt(i));
            RuntimeBackgroundTask();
        }
        copy->Containers.Resize(source->Containers.Ubound());
        for (std::int64_t i = 1; i <= source->Containers.Ubound(); ++i) {
            const CXML& child = *source->Containers[i];
            copy->Containers[i] = Ref<CXML>::make();
            waiting.push_back({&child, copy->Containers[i].get()});
            RuntimeBackgroundTask();
        }
    }
    return root;
}

} // namespace hearthix
