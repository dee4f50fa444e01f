// The tree under HVector. Counts are kept exact on every node, all leaves stand at one depth, and
// nodes are never merged: a node goes when its last element does, and the height when all do.

#include "common/container/hvector.h"

#include "common/error.h"
#include "common/hexcept.h"

#include <algorithm>
#include <memory>

namespace {

constexpr std::size_t childSize = sizeof(void*); // of a child pointer, in the front of its slot

} // namespace

HVectorBase::HVectorBase(int order, int entryBytes)
    : maxEntries(order), entrySize(std::max(entryBytes, static_cast<int>(childSize))) {
    if (order < 2) {
        throwInvalid();
    }
}

void HVectorBase::throwInvalid() {
    throw hexcept(HE_INVAL);
}

HVectorBase::Node* HVectorBase::newNode(bool leaf, int count) const {
    auto node = std::make_unique<Node>();
    node->count = count;
    node->leaf = leaf;
    node->parent = nullptr;
    node->data = new unsigned char[static_cast<std::size_t>(maxEntries) *
                                   static_cast<std::size_t>(entrySize)]();
    return node.release();
}

void HVectorBase::freeNode(Node* node) {
    delete[] static_cast<unsigned char*>(node->data);
    delete node;
}

// The stride between child pointers is the entry size, which need not keep them aligned.
HVectorBase::Node* HVectorBase::child(const Node* node, int slot) const {
    Node* result = nullptr;
    std::memcpy(&result, slotAddress(node, slot), childSize);
    return result;
}

void HVectorBase::setChild(Node* node, int slot, Node* newChild) const {
    std::memcpy(slotAddress(node, slot), &newChild, childSize);
    newChild->parent = node;
}

// Requires: `node` hangs in `parent`.
int HVectorBase::slotOf(const Node* parent, const Node* node) const {
    int slot = 0;
    while (child(parent, slot) != node) {
        ++slot;
    }
    return slot;
}

int HVectorBase::childCount(const Node* node) const {
    int count = 0;
    while (count < maxEntries && child(node, count) != nullptr) {
        ++count;
    }
    return count;
}

void HVectorBase::moveSlots(Node* to, int toSlot, const Node* from, int fromSlot, int count) const {
    if (count > 0) {
        std::memmove(slotAddress(to, toSlot), slotAddress(from, fromSlot),
                     static_cast<std::size_t>(count) * static_cast<std::size_t>(entrySize));
    }
}

void HVectorBase::zeroSlots(Node* node, int slot, int count) const {
    if (count > 0) {
        std::memset(slotAddress(node, slot), 0,
                    static_cast<std::size_t>(count) * static_cast<std::size_t>(entrySize));
    }
}

HVectorBase::Node* HVectorBase::gotoIndex(int& index) const {
    if (root == nullptr || index < 0 || index >= root->count) {
        return nullptr;
    }
    int rest = index;
    Node* node = root;
    while (!node->leaf) {
        int slot = 0;
        Node* next = child(node, 0);
        while (rest >= next->count) {
            rest -= next->count;
            next = child(node, ++slot);
        }
        node = next;
    }
    index = rest;
    return node;
}

// Requires: the vector is not empty.
HVectorBase::Node* HVectorBase::lastLeaf() const {
    Node* node = root;
    while (!node->leaf) {
        node = child(node, childCount(node) - 1);
    }
    return node;
}

namespace {

void addToCounts(HVectorBase::Node* node, int difference) {
    for (; node != nullptr; node = node->parent) {
        node->count += difference;
    }
}

} // namespace

void* HVectorBase::appendData() {
    if (root == nullptr) {
        root = newNode(true, 1);
        return slotAddress(root, 0);
    }
    Node* leaf = lastLeaf();
    if (leaf->count < maxEntries) {
        const int slot = leaf->count;
        addToCounts(leaf, 1);
        return slotAddress(leaf, slot);
    }

    // The nearest ancestor with room takes a new branch that reaches down to the leaves' depth.
    int levels = 0;
    Node* ancestor = leaf->parent;
    while (ancestor != nullptr && childCount(ancestor) == maxEntries) {
        ancestor = ancestor->parent;
        ++levels;
    }
    Node* fresh = newNode(true, 1);
    if (ancestor == nullptr) {
        ancestor = newNode(false, root->count);
        setChild(ancestor, 0, root);
        root = ancestor;
    }
    setChild(ancestor, childCount(ancestor), fresh);
    addToCounts(ancestor, 1);
    for (; levels > 0; --levels) {
        Node* below = newNode(true, 1);
        fresh->leaf = false;
        setChild(fresh, 0, below);
        fresh = below;
    }
    return slotAddress(fresh, 0);
}

void* HVectorBase::insertData(int index) {
    if (index == size()) {
        return appendData();
    }
    int slot = index;
    Node* leaf = gotoIndex(slot);
    if (leaf == nullptr) {
        return nullptr;
    }
    if (leaf->count < maxEntries) {
        moveSlots(leaf, slot + 1, leaf, slot, leaf->count - slot);
        addToCounts(leaf, 1);
        return slotAddress(leaf, slot);
    }

    // A full leaf splits at the insertion point; what stands before it moves to a new left
    // neighbour, which has room for the new element because it takes at least one slot less.
    Node* fresh = newNode(true, slot + 1);
    moveSlots(fresh, 0, leaf, 0, slot);
    moveSlots(leaf, 0, leaf, slot, maxEntries - slot);
    leaf->count -= slot;
    hangBefore(leaf, fresh);
    return slotAddress(fresh, slot);
}

// Hangs `fresh` directly before `old`, whose elements together are one more than the ancestors of
// `old` count.
void HVectorBase::hangBefore(Node* old, Node* fresh) {
    for (;;) {
        Node* parent = old->parent;
        if (parent == nullptr) {
            Node* top = newNode(false, old->count + fresh->count);
            setChild(top, 0, fresh);
            setChild(top, 1, old);
            root = top;
            return;
        }
        const int slot = slotOf(parent, old);
        const int children = childCount(parent);
        if (children < maxEntries) {
            moveSlots(parent, slot + 1, parent, slot, children - slot);
            setChild(parent, slot, fresh);
            addToCounts(parent, 1);
            return;
        }
        fresh = splitInner(parent, slot, fresh);
        old = parent;
    }
}

// Moves the children before `slot` of a full inner node to a new node, with `fresh` behind them,
// and returns that node, which is to be hung before `parent`.
HVectorBase::Node* HVectorBase::splitInner(Node* parent, int slot, Node* fresh) const {
    Node* left = newNode(false, fresh->count);
    for (int i = 0; i < slot; ++i) {
        Node* moved = child(parent, i);
        setChild(left, i, moved);
        left->count += moved->count;
    }
    setChild(left, slot, fresh);
    moveSlots(parent, 0, parent, slot, maxEntries - slot);
    zeroSlots(parent, maxEntries - slot, slot);

    parent->count = 0;
    for (int i = 0; i < maxEntries - slot; ++i) {
        parent->count += child(parent, i)->count;
    }
    return left;
}

void HVectorBase::removeData(Node* leaf, int slot) {
    addToCounts(leaf, -1);
    if (leaf->count > 0) {
        moveSlots(leaf, slot, leaf, slot + 1, leaf->count - slot);
        zeroSlots(leaf, leaf->count, 1);
        return;
    }
    Node* dropped = leaf;
    while (Node* parent = dropped->parent) {
        const int place = slotOf(parent, dropped);
        freeNode(dropped);
        moveSlots(parent, place, parent, place + 1, maxEntries - 1 - place);
        zeroSlots(parent, maxEntries - 1, 1);
        if (child(parent, 0) != nullptr) {
            return;
        }
        dropped = parent;
    }
    freeNode(dropped);
    root = nullptr;
}

void HVectorBase::recursiveEmpty(Node* node, ElementFunc f, void* arg) {
    if (!node->leaf) {
        for (int slot = 0; slot < maxEntries && child(node, slot) != nullptr; ++slot) {
            recursiveEmpty(child(node, slot), f, arg);
        }
    } else if (f != nullptr) {
        for (int slot = 0; slot < node->count; ++slot) {
            f(slotAddress(node, slot), arg);
        }
    }
    freeNode(node);
}

bool HVectorBase::binSearchData(SearchCompare cmp, void* ctx, int from, int to, int* index) const {
    bool found = false;
    int place = to;
    if (root == nullptr) {
        place = 0;
    } else {
        while (from < place) {
            const int middle = (from + place) >> 1;
            int slot = middle;
            const Node* leaf = gotoIndex(slot);
            const int order = cmp(slotAddress(leaf, slot), ctx);
            if (order == 0) {
                place = middle;
                found = true;
                break;
            }
            if (order < 0) {
                place = middle;
            } else {
                from = middle + 1;
            }
        }
    }
    if (index != nullptr) {
        *index = place;
    }
    return found;
}

void HVectorBase::quickSortData(int lo, int hi, SortCompare cmp, void* arg) {
    if (lo >= hi) {
        return;
    }
    const auto bytes = static_cast<std::size_t>(entrySize);
    alignas(std::max_align_t) unsigned char local[256];
    std::unique_ptr<unsigned char[]> large;
    void* pivot = local;
    if (bytes > sizeof local) {
        large.reset(new unsigned char[bytes]);
        pivot = large.get();
    }
    sortRange(lo, hi, cmp, arg, pivot);
}

// Hoare's partition around the element in the middle. Recursion takes the smaller part only, so
// that the stack stays logarithmic whatever the elements are.
void HVectorBase::sortRange(int lo, int hi, SortCompare cmp, void* arg, void* pivot) {
    const auto address = [this](int index) {
        const Node* leaf = gotoIndex(index);
        return slotAddress(leaf, index);
    };
    while (lo < hi) {
        std::memcpy(pivot, address(lo + (hi - lo) / 2), static_cast<std::size_t>(entrySize));
        int i = lo;
        int j = hi;
        do {
            while (cmp(address(i), pivot, arg) < 0) {
                ++i;
            }
            while (cmp(address(j), pivot, arg) > 0) {
                --j;
            }
            if (j < i) {
                break;
            }
            swapElements(address(i), address(j));
            ++i;
            --j;
        } while (i <= j);

        if (j - lo < hi - i) {
            sortRange(lo, j, cmp, arg, pivot);
            lo = i;
        } else {
            sortRange(i, hi, cmp, arg, pivot);
            hi = j;
        }
    }
}

void HVectorBase::swapElements(void* a, void* b) const {
    auto* left = static_cast<unsigned char*>(a);
    auto* right = static_cast<unsigned char*>(b);
    if (left != right) {
        std::swap_ranges(left, left + entrySize, right);
    }
}
