// HVector: an indexed sequence held in a tree of fixed-size nodes, so that an insertion or removal
// in the middle of a long list moves one node's worth of data at most. It is no contiguous array:
// finding an index costs the tree's depth times the node order.
//
// HVectorBase holds the tree and works on slots of bytes; HVector<T, A> is the typed facade that
// the rest of the system uses. Elements are moved by plain byte copies: nothing in a vector may
// hold a pointer to itself, and a pointer into a vector is valid only until its next change.
//
// Failure: an index out of range gives a null result and changes nothing; no last error is set.
// Threads: no locks. The const operations write nothing, so readers may share a vector that
// nobody changes; every other use is guarded by the vector's owner.

#ifndef MORVEX_COMMON_CONTAINER_HVECTOR_H
#define MORVEX_COMMON_CONTAINER_HVECTOR_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <type_traits>

class HVectorBase {
public:
    // A node of the tree. A leaf's elements stand in slots 0 to count - 1. An inner node's slots
    // hold pointers to its children, packed from slot 0, with null behind the last one.
    struct Node {
        std::int32_t count; // elements in the subtree under this node
        bool leaf;
        Node* parent; // null at the root
        void* data;   // maxEntries slots of entrySize bytes, zeroed when the node is made
    };

    // What a comparison for binSearchData gives: below 0 where the searched key lies before the
    // element, 0 where it is equal, above 0 where it lies behind.
    using SearchCompare = int (*)(const void* element, void* ctx);
    using SortCompare = int (*)(void* a, void* b, void* arg);
    using ElementFunc = void (*)(void* element, void* arg);

    HVectorBase(const HVectorBase&) = delete;
    HVectorBase& operator=(const HVectorBase&) = delete;

    // The number of elements.
    int size() const { return root != nullptr ? root->count : 0; }

    // The leaf that holds element `index`, with `index` rewritten to the slot inside that leaf.
    // Null for an index that does not exist; `index` keeps its value then.
    Node* gotoIndex(int& index) const;

    // The address of a slot of a node.
    // Requires: 0 <= slot < the node order.
    void* slotAddress(const Node* node, int slot) const {
        return static_cast<unsigned char*>(node->data) +
               static_cast<std::size_t>(slot) * static_cast<std::size_t>(entrySize);
    }

    // A fresh slot behind the last element; the size has grown by one. The caller writes the
    // element at once.
    void* appendData();

    // The slot that becomes element `index`; the elements from `index` on have moved up by one.
    // The caller writes the element at once: the slot still holds old bytes. An index equal to the
    // size appends; null for an index below 0 or above the size.
    void* insertData(int index);

    // Takes out the element at a position that gotoIndex gave, without destroying it. The removal
    // of the last element frees the tree.
    void removeData(Node* leaf, int slot);

    // Frees a whole subtree. With `f`, it is first called for the address of each element, in
    // index order; without, the elements are not touched.
    // Requires: the caller unlinks `node` (for the root: sets `root` to null) right afterwards.
    void recursiveEmpty(Node* node, ElementFunc f, void* arg);

    // Binary search of the elements `from` up to, not including, `to`, which are in the order of
    // `cmp`. True with the index of a match in `*index`; false with the place where the key would
    // have to be inserted to keep the order. An empty vector gives 0, an empty range gives `to`.
    // `index` may be null.
    // Requires: 0 <= from and to <= size() unless the range is empty.
    bool binSearchData(SearchCompare cmp, void* ctx, int from, int to, int* index) const;

    // Sorts the elements `lo` to `hi`, both included; equal elements come in no particular order.
    // Requires: both indexes exist, unless lo >= hi.
    void quickSortData(int lo, int hi, SortCompare cmp, void* arg);

protected:
    // `order` is the number of slots of every node; an entry size below 8 counts as 8, because a
    // slot of an inner node holds a pointer. Throws hexcept(HE_INVAL) for an order below 2.
    HVectorBase(int order, int entryBytes);
    // Frees nothing: the facade empties the tree, since only it can destroy elements.
    ~HVectorBase() = default;

    // Throws hexcept(HE_INVAL).
    [[noreturn]] static void throwInvalid();

    std::int32_t maxEntries;
    std::int32_t entrySize;
    Node* root = nullptr; // null while the vector is empty

private:
    Node* newNode(bool leaf, int count) const;
    static void freeNode(Node* node);
    Node* child(const Node* node, int slot) const;
    void setChild(Node* node, int slot, Node* newChild) const;
    int slotOf(const Node* parent, const Node* node) const;
    int childCount(const Node* node) const;
    void moveSlots(Node* to, int toSlot, const Node* from, int fromSlot, int count) const;
    void zeroSlots(Node* node, int slot, int count) const;
    Node* lastLeaf() const;
    void hangBefore(Node* old, Node* fresh);
    Node* splitInner(Node* parent, int slot, Node* fresh) const;
    void sortRange(int lo, int hi, SortCompare cmp, void* arg, void* pivot);
    void swapElements(void* a, void* b) const;
};

// The typed facade. `T` is stored by value and moved by bytes; `A` is the type of the second
// argument of the destroy function.
//
// Ownership: a vector with a destroy function owns its elements when it is emptied as a whole, by
// clear or by the destructor. Taking out a single element never destroys it.
template <class T, class A = void*> class HVector : public HVectorBase {
public:
    using DestroyFunc = void (*)(T element, A arg);

    // `order` is the node order: the number of slots of every node. Throws hexcept(HE_INVAL) for
    // an order below 2.
    explicit HVector(int order, DestroyFunc destroy = nullptr, A arg = A{})
        : HVectorBase(order, static_cast<int>(elementSize)), destroyFunc(destroy), destroyArg(arg) {
        static_assert(std::is_trivially_copyable_v<T>, "elements are moved by bytes");
        static_assert(alignof(T) <= alignof(std::max_align_t));
    }
    ~HVector() { clear(); }

    // Element `index`, or a zero value where it does not exist.
    T get(int index) const {
        const Node* leaf = gotoIndex(index);
        return leaf != nullptr ? load(slotAddress(leaf, index)) : T{};
    }

    // Element `index`; throws hexcept(HE_INVAL) where it does not exist.
    T at(int index) const {
        const Node* leaf = gotoIndex(index);
        if (leaf == nullptr) {
            throwInvalid();
        }
        return load(slotAddress(leaf, index));
    }

    // Element `index` in place, or null where it does not exist. Valid until the next change.
    T* getPointer(int index) const {
        const Node* leaf = gotoIndex(index);
        return leaf != nullptr ? static_cast<T*>(slotAddress(leaf, index)) : nullptr;
    }

    // Overwrites element `index`; false, with nothing stored, where it does not exist.
    bool set(int index, T value) {
        T* slot = getPointer(index);
        if (slot != nullptr) {
            store(slot, value);
        }
        return slot != nullptr;
    }

    void append(T value) { store(appendData(), value); }

    // `value` becomes element `index`. False, with nothing stored, for an index below 0 or above
    // the size.
    bool insertAt(int index, T value) {
        void* slot = insertData(index);
        if (slot != nullptr) {
            store(slot, value);
        }
        return slot != nullptr;
    }

    // Takes element `index` out without destroying it: a caller that owns it reads it first.
    void removeAt(int index) {
        Node* leaf = gotoIndex(index);
        if (leaf != nullptr) {
            removeData(leaf, index);
        }
    }

    // Empties the vector, with the destroy function called for each element, in index order.
    void clear() {
        if (root != nullptr) {
            recursiveEmpty(root, destroyFunc != nullptr ? destroyFuncWrapper : nullptr, this);
            root = nullptr;
        }
    }

    // The highest index of an element equal to `value`, or -1.
    int search(T value) const {
        for (int last = size() - 1; last >= 0;) {
            int slot = last;
            const Node* leaf = gotoIndex(slot);
            last -= slot + 1;
            for (; slot >= 0; --slot) {
                if (load(slotAddress(leaf, slot)) == value) {
                    return last + 1 + slot;
                }
            }
        }
        return -1;
    }

    // Binary search of the elements `from` up to, not including, `to` on the elements' own values,
    // which stand in rising order: signed for int, by address for pointers. True with the index of
    // a match in `*index`; false with the index where the key belongs. An empty vector or a range
    // that leaves it gives false and 0; an empty range gives false and `to`. `index` may be null.
    template <class K> bool binSearchRange(K key, int from, int to, int* index) const {
        if (root == nullptr || size() == 0 || from < 0 || to > size()) {
            return found(false, 0, index);
        }
        if (from >= to) {
            return found(false, to, index);
        }
        const T wanted = static_cast<T>(key);
        const std::less<T> below;
        while (from < to) {
            const int middle = (from + to) >> 1;
            const T element = get(middle);
            if (below(wanted, element)) {
                to = middle;
            } else if (below(element, wanted)) {
                from = middle + 1;
            } else {
                return found(true, middle, index);
            }
        }
        return found(false, to, index);
    }

    // binSearchData with a typed comparison, which is called with the key first and an element
    // second, and gives a value below 0 where the key lies before the element.
    template <class K>
    bool binSearch(std::type_identity_t<K> key, int (*compare)(K key, T element), int from, int to,
                   int* index) const {
        SearchContext<K> context{key, compare};
        return binSearchData(bsearchCompareWrapper1<K>, &context, from, to, index);
    }

private:
    // NOLINTNEXTLINE(bugprone-sizeof-expression): where elements are pointers, these are stored
    static constexpr std::size_t elementSize = sizeof(T);

    template <class K> struct SearchContext {
        K key;
        int (*compare)(K key, T element);
    };

    template <class K> static int bsearchCompareWrapper1(const void* element, void* ctx) {
        const SearchContext<K>* context = static_cast<SearchContext<K>*>(ctx);
        return context->compare(context->key, load(element));
    }

    static void destroyFuncWrapper(void* element, void* arg) {
        const HVector* vector = static_cast<HVector*>(arg);
        vector->destroyFunc(load(element), vector->destroyArg);
    }

    static bool found(bool result, int place, int* index) {
        if (index != nullptr) {
            *index = place;
        }
        return result;
    }

    static T load(const void* slot) {
        T value{};
        std::memcpy(static_cast<void*>(&value), slot, elementSize);
        return value;
    }
    static void store(void* slot, const T& value) { std::memcpy(slot, &value, elementSize); }

    DestroyFunc destroyFunc;
    A destroyArg;
};

#endif
