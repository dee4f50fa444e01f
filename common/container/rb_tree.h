// RBTree: a red-black map from polymorphic keys to opaque values, with a walk, independent
// iterators and a search that a following insert or remove takes up without a second descent.
//
// Ownership: the tree owns its keys. Values are passed to the destroy function where the removal
// flags say so; the destructor destroys every key and value that is left.
//
// Requires: no key passed in is null, unless told otherwise.
//
// Failure: results are 0 for success and -1, with the last error set, for failure unless told
// otherwise; a failed operation changes only the pending search and the walk's position.
//
// Threads: no locks. Even the const operations write the pending search and the walk's position,
// so the readers of one tree take turns too, or use iterators, which touch only themselves.

#ifndef MORVEX_COMMON_CONTAINER_RB_TREE_H
#define MORVEX_COMMON_CONTAINER_RB_TREE_H

#include "common/container/key.h"

#include <cstdint>

class RBTreeIterator;

class Tree {
public:
    using DestroyFunc = void (*)(void* value, void* arg);

    // Removal flags: what a removal does besides taking the entry out. Bit 1 has no effect.
    static constexpr int DeleteKey = 2;    // delete the key
    static constexpr int DestroyValue = 4; // pass the value to the tree's destroy function

    // The value of a key, or null with last error HE_NOENT. Either result leaves a pending search
    // for the operations without a key below; after a miss it refers to `key` itself.
    virtual void* search(HKey* key) const = 0;
    // The same as 0 and the value, or -1 and a null value.
    virtual int search(HKey* key, void*& value) const = 0;

    // Adds an entry and takes ownership of `key`, an object made by new. -1 with HE_EEXISTS where
    // the key is present; the caller keeps its key then. Leaves the pending search alone.
    virtual int insert(HKey* key, const void* value) = 0;

    // Removes the entry of a key. -1 with HE_INVAL for a null key, HE_NOENT for an absent one.
    virtual int remove(HKey* key, int flags) = 0;
    // The same; hands back the value, or null where it was destroyed and on failure.
    virtual int remove(HKey* key, void*& value, int flags) = 0;

    // The walk: each gives the smallest entry, the entry after the present one, the largest or the
    // one before the present one; next and previous start at an end where there is no present one.
    // At the end of the walk: -1 with HE_NOENT, both arguments null and no present entry. The
    // entry found is also left as a pending search that hit.
    virtual int first(HKey*& key, void*& value) const = 0;
    virtual int next(HKey*& key, void*& value) const = 0;
    virtual int last(HKey*& key, void*& value) const = 0;
    virtual int previous(HKey*& key, void*& value) const = 0;

    // Removes all entries; each value is dealt with before its key.
    virtual int empty(int flags) = 0;

    // Adds the key of the pending search with `value`, without a second descent, and clears the
    // pending search. The tree takes ownership of the key object given to that search, which must
    // have been made by new. -1 with HE_INVALOP where no search is pending, with HE_EEXISTS where
    // the search hit.
    // Requires: the tree has not changed since the search.
    virtual int insert(void* value) = 0;

    // Removes the entry that the pending search found, and clears the search. -1 with HE_INVALOP
    // where there is none.
    // Requires: the search hit, and the tree has not changed since.
    virtual int remove(int flags) = 0;

    // Replaces the value of a key, or adds it: 1 where a value was replaced (the caller keeps its
    // key), 0 where an entry was added (the tree owns the key), -1 on failure. With `destroyOld` a
    // replaced value that is not null goes to the destroy function.
    virtual int modify(HKey* key, void* value, bool destroyOld) = 0;

    // The same for the entry of the pending search, which stays. -1 with HE_INVALOP where no
    // search is pending.
    // Requires: the search hit or the tree is empty, and the tree has not changed since.
    virtual int modify(void* value, bool destroyOld) = 0;

    virtual std::uint32_t getSize() const = 0;

    // Destroys every key and value that is left.
    virtual ~Tree();

protected:
    Tree() = default;
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;
};

class RBTree final : public Tree {
public:
    // An entry. A removal may move an entry to another node, so a node pointer held across one may
    // hold another entry.
    struct Node;

    // `destroyValue` may be null; it is called with a value and `destroyArg`.
    explicit RBTree(DestroyFunc destroyValue = nullptr, void* destroyArg = nullptr);

    void* search(HKey* key) const override;
    int search(HKey* key, void*& value) const override;
    int insert(HKey* key, const void* value) override;
    int remove(HKey* key, int flags) override;
    int remove(HKey* key, void*& value, int flags) override;
    int first(HKey*& key, void*& value) const override;
    int next(HKey*& key, void*& value) const override;
    int last(HKey*& key, void*& value) const override;
    int previous(HKey*& key, void*& value) const override;
    int empty(int flags) override;
    int insert(void* value) override;
    int remove(int flags) override;
    int modify(HKey* key, void* value, bool destroyOld) override;
    int modify(void* value, bool destroyOld) override;
    std::uint32_t getSize() const override;
    ~RBTree() override;

    // A new iterator on this tree, not yet positioned, owned by the caller.
    RBTreeIterator* getIterator() const;

    // Moves the iterator to the next entry and removes the entry it stood on. The result is that
    // of the move, so a loop may remove as it walks and end at -1. -1 with HE_INVAL, and nothing
    // removed, for a null or an unpositioned iterator.
    int remove(RBTreeIterator*& iterator, int flags);

    // The ends and the neighbours of a node, or null where there is none; no error is set. A null
    // node asks for the first or the last one.
    Node* firstRBTreeNode() const;
    Node* lastRBTreeNode() const;
    Node* nextRBTreeNode(const Node* node) const;
    Node* previousRBTreeNode(const Node* node) const;

private:
    friend class RBTreeIterator;

    void rotateLeft(Node* node);
    void rotateRight(Node* node);
    void balance(Node* node);
    Node* insertBinary(HKey* key, void* value);
    Node* succesor(const Node* node) const;
    Node* predecessor(const Node* node) const;
    void repairAfterRemove(Node* node);

    Node* newNode(HKey* key, void* value, Node* parent) const;
    Node* find(const HKey* key) const;
    Node* searchNode(HKey* key) const;
    void replaceChild(Node* old, Node* fresh);
    Node* spliceOut(Node* node);
    void* removeNode(Node* node, int flags, RBTreeIterator* iterator);
    void forgetSearch() const;
    int leaveAt(Node* node, HKey*& key, void*& value) const;
    void disposeEntry(HKey* key, void* value, int flags) const;

    Node* root;             // nil while the tree is empty
    Node* nil;              // stands for every absent child and for the root's parent
    mutable Node* lastNode; // where the last search ended
    mutable HKey* lastKey;  // the key of the pending search, null when none is pending
    mutable Node* cursor;   // the present entry of the walk, or nil
    std::uint32_t size;
    DestroyFunc destroyValue;
    void* destroyArg;
};

// A walk of its own over a tree. Iterators don't disturb each other or the tree's own walk. Each
// move gives 0, or -1: with HE_NOENT at the end of the walk, with HE_INVALOP without a tree or,
// for next and previous, without a position. Any change to the tree other than through
// RBTree::remove with this iterator leaves the position undefined.
class RBTreeIterator {
public:
    explicit RBTreeIterator(const RBTree* walked = nullptr) : tree(walked), node(nullptr) {}

    // The present entry; both null where the iterator has no position.
    void get(HKey*& key, void*& value) const;

    int first();
    int next();
    int last();
    int previous();

private:
    friend class RBTree;

    int moveTo(RBTree::Node* target);

    const RBTree* tree;
    RBTree::Node* node;
};

#endif
