// The red-black tree: the classic algorithms on nodes with parent links and one sentinel, which
// stands for every absent child and for the root's parent.

#include "common/container/rb_tree.h"

#include "common/error.h"
#include "common/thread/thread.h"

namespace {

enum Color : std::int32_t { Red = 0, Black = 1 };

} // namespace

struct RBTree::Node {
    std::int32_t color;
    HKey* key; // null in the sentinel
    Node* parent;
    Node* left;
    Node* right;
    void* value;
};

Tree::~Tree() = default;

RBTree::RBTree(DestroyFunc destroy, void* arg)
    : nil(new Node{Black, nullptr, nullptr, nullptr, nullptr, nullptr}), lastKey(nullptr), size(0),
      destroyValue(destroy), destroyArg(arg) {
    nil->parent = nil->left = nil->right = nil;
    root = lastNode = cursor = nil;
}

RBTree::~RBTree() {
    RBTree::empty(DeleteKey | DestroyValue | 1);
    delete nil;
}

std::uint32_t RBTree::getSize() const {
    return size;
}

// ---- Searching -------------------------------------------------------------------------------

// The node of a key, or the sentinel. Touches nothing.
RBTree::Node* RBTree::find(const HKey* key) const {
    Node* node = root;
    while (node != nil) {
        const int order = key->compareTo(*node->key);
        if (order == 0) {
            break;
        }
        node = order < 0 ? node->left : node->right;
    }
    return node;
}

// Leaves a pending search: at the node with its own key on a hit, at the last node visited with
// the caller's key on a miss. Returns the node on a hit, the sentinel on a miss.
RBTree::Node* RBTree::searchNode(HKey* key) const {
    lastNode = nil;
    lastKey = key;
    for (Node* node = root; node != nil;) {
        lastNode = node;
        const int order = key->compareTo(*node->key);
        if (order == 0) {
            lastKey = node->key;
            return node;
        }
        node = order < 0 ? node->left : node->right;
    }
    return nil;
}

void RBTree::forgetSearch() const {
    lastNode = nil;
    lastKey = nullptr;
}

void* RBTree::search(HKey* key) const {
    void* value = nullptr;
    RBTree::search(key, value);
    return value;
}

int RBTree::search(HKey* key, void*& value) const {
    const Node* node = searchNode(key);
    if (node == nil) {
        value = nullptr;
        Thread::setLastError(HE_NOENT);
        return -1;
    }
    value = node->value;
    return 0;
}

// ---- Walking ---------------------------------------------------------------------------------

// The next node in key order, or the sentinel.
RBTree::Node* RBTree::succesor(const Node* node) const {
    if (node->right != nil) {
        Node* below = node->right;
        while (below->left != nil) {
            below = below->left;
        }
        return below;
    }
    Node* above = node->parent;
    while (above != nil && node == above->right) {
        node = above;
        above = above->parent;
    }
    return above;
}

RBTree::Node* RBTree::predecessor(const Node* node) const {
    if (node->left != nil) {
        Node* below = node->left;
        while (below->right != nil) {
            below = below->right;
        }
        return below;
    }
    Node* above = node->parent;
    while (above != nil && node == above->left) {
        node = above;
        above = above->parent;
    }
    return above;
}

RBTree::Node* RBTree::firstRBTreeNode() const {
    if (root == nil) {
        return nullptr;
    }
    Node* node = root;
    while (node->left != nil) {
        node = node->left;
    }
    return node;
}

RBTree::Node* RBTree::lastRBTreeNode() const {
    if (root == nil) {
        return nullptr;
    }
    Node* node = root;
    while (node->right != nil) {
        node = node->right;
    }
    return node;
}

RBTree::Node* RBTree::nextRBTreeNode(const Node* node) const {
    if (node == nullptr) {
        return firstRBTreeNode();
    }
    Node* after = succesor(node);
    return after != nil ? after : nullptr;
}

RBTree::Node* RBTree::previousRBTreeNode(const Node* node) const {
    if (node == nullptr) {
        return lastRBTreeNode();
    }
    Node* before = predecessor(node);
    return before != nil ? before : nullptr;
}

// Makes `node` the present entry of the walk and a pending search that hit; null ends the walk.
int RBTree::leaveAt(Node* node, HKey*& key, void*& value) const {
    if (node == nullptr) {
        key = nullptr;
        value = nullptr;
        cursor = nil;
        forgetSearch();
        Thread::setLastError(HE_NOENT);
        return -1;
    }
    key = node->key;
    value = node->value;
    cursor = lastNode = node;
    lastKey = node->key;
    return 0;
}

int RBTree::first(HKey*& key, void*& value) const {
    return leaveAt(firstRBTreeNode(), key, value);
}

int RBTree::next(HKey*& key, void*& value) const {
    return leaveAt(nextRBTreeNode(cursor != nil ? cursor : nullptr), key, value);
}

int RBTree::last(HKey*& key, void*& value) const {
    return leaveAt(lastRBTreeNode(), key, value);
}

int RBTree::previous(HKey*& key, void*& value) const {
    return leaveAt(previousRBTreeNode(cursor != nil ? cursor : nullptr), key, value);
}

// ---- Inserting -------------------------------------------------------------------------------

RBTree::Node* RBTree::newNode(HKey* key, void* value, Node* parent) const {
    return new Node{Red, key, parent, nil, nil, value};
}

// Hangs `fresh` in the place of `old` under old's parent, or as the root.
void RBTree::replaceChild(Node* old, Node* fresh) {
    Node* parent = old->parent;
    if (parent == nil) {
        root = fresh;
    } else if (old == parent->left) {
        parent->left = fresh;
    } else {
        parent->right = fresh;
    }
    fresh->parent = parent;
}

void RBTree::rotateLeft(Node* node) {
    Node* up = node->right;
    node->right = up->left;
    if (up->left != nil) {
        up->left->parent = node;
    }
    replaceChild(node, up);
    up->left = node;
    node->parent = up;
}

void RBTree::rotateRight(Node* node) {
    Node* up = node->left;
    node->left = up->right;
    if (up->right != nil) {
        up->right->parent = node;
    }
    replaceChild(node, up);
    up->right = node;
    node->parent = up;
}

void RBTree::balance(Node* node) {
    node->color = Red;
    while (node != root && node->parent->color == Red) {
        Node* grandparent = node->parent->parent;
        const bool onLeft = node->parent == grandparent->left;
        Node* uncle = onLeft ? grandparent->right : grandparent->left;
        if (uncle->color == Red) {
            node->parent->color = Black;
            uncle->color = Black;
            grandparent->color = Red;
            node = grandparent;
            continue;
        }
        if (onLeft) {
            if (node == node->parent->right) {
                node = node->parent;
                rotateLeft(node);
            }
            node->parent->color = Black;
            grandparent->color = Red;
            rotateRight(grandparent);
        } else {
            if (node == node->parent->left) {
                node = node->parent;
                rotateRight(node);
            }
            node->parent->color = Black;
            grandparent->color = Red;
            rotateLeft(grandparent);
        }
    }
    root->color = Black;
}

// Links a new node at the place of its key; the sentinel where the key is present.
RBTree::Node* RBTree::insertBinary(HKey* key, void* value) {
    Node* parent = nil;
    int order = 0;
    for (Node* node = root; node != nil; node = order < 0 ? node->left : node->right) {
        parent = node;
        order = key->compareTo(*node->key);
        if (order == 0) {
            return nil;
        }
    }
    Node* node = newNode(key, value, parent);
    if (parent == nil) {
        root = node;
    } else if (order < 0) {
        parent->left = node;
    } else {
        parent->right = node;
    }
    return node;
}

int RBTree::insert(HKey* key, const void* value) {
    Node* node = insertBinary(key, const_cast<void*>(value));
    if (node == nil) {
        Thread::setLastError(HE_EEXISTS);
        return -1;
    }
    balance(node);
    ++size;
    return 0;
}

int RBTree::insert(void* value) {
    if (lastKey == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    HKey* key = lastKey;
    Node* parent = lastNode;
    forgetSearch();
    if (parent == nil || parent->key == key) { // the tree is empty, or the search hit
        return insert(key, value);
    }
    Node*& side = *key < *parent->key ? parent->left : parent->right;
    if (side != nil) {
        // Keys too far apart for compareTo and the operators to agree: never cut a branch off.
        return insert(key, value);
    }
    Node* node = newNode(key, value, parent);
    side = node;
    balance(node);
    ++size;
    return 0;
}

int RBTree::modify(HKey* key, void* value, bool destroyOld) {
    Node* node = find(key);
    if (node == nil) {
        return insert(key, value);
    }
    if (destroyOld && destroyValue != nullptr && node->value != nullptr) {
        destroyValue(node->value, destroyArg);
    }
    node->value = value;
    return 1;
}

int RBTree::modify(void* value, bool destroyOld) {
    if (lastKey == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    if (lastNode == nil) {
        return insert(lastKey, value);
    }
    if (destroyOld && destroyValue != nullptr && lastNode->value != nullptr) {
        destroyValue(lastNode->value, destroyArg);
    }
    lastNode->value = value;
    return 1;
}

// ---- Removing --------------------------------------------------------------------------------

void RBTree::disposeEntry(HKey* key, void* value, int flags) const {
    if ((flags & DestroyValue) != 0 && destroyValue != nullptr) {
        destroyValue(value, destroyArg);
    }
    if ((flags & DeleteKey) != 0) {
        delete key;
    }
}

// Takes `node`'s entry out of the tree and returns the node that was cut out for it, which may be
// the successor's: its entry has moved to `node` then. The caller frees the result.
RBTree::Node* RBTree::spliceOut(Node* node) {
    Node* spliced = node->left == nil || node->right == nil ? node : succesor(node);
    Node* child = spliced->left != nil ? spliced->left : spliced->right;
    replaceChild(spliced, child); // the sentinel's parent is set, too: the repair starts from it
    if (spliced != node) {
        node->key = spliced->key;
        node->value = spliced->value;
    }
    if (spliced->color == Black) {
        repairAfterRemove(child);
    }
    return spliced;
}

void RBTree::repairAfterRemove(Node* node) {
    while (node != root && node->color == Black) {
        Node* parent = node->parent;
        const bool onLeft = node == parent->left;
        Node* sibling = onLeft ? parent->right : parent->left;
        if (sibling->color == Red) {
            sibling->color = Black;
            parent->color = Red;
            if (onLeft) {
                rotateLeft(parent);
                sibling = parent->right;
            } else {
                rotateRight(parent);
                sibling = parent->left;
            }
        }
        Node* near = onLeft ? sibling->left : sibling->right;
        Node* far = onLeft ? sibling->right : sibling->left;
        if (near->color == Black && far->color == Black) {
            sibling->color = Red;
            node = parent;
            continue;
        }
        if (far->color == Black) {
            near->color = Black;
            sibling->color = Red;
            if (onLeft) {
                rotateRight(sibling);
                sibling = parent->right;
                far = sibling->right;
            } else {
                rotateLeft(sibling);
                sibling = parent->left;
                far = sibling->left;
            }
        }
        sibling->color = parent->color;
        parent->color = Black;
        far->color = Black;
        if (onLeft) {
            rotateLeft(parent);
        } else {
            rotateRight(parent);
        }
        node = root;
    }
    node->color = Black;
}

// Removes the entry of `node` and gives its value, or null where it was destroyed. An iterator that
// stands on the node cut out follows its entry to `node`.
void* RBTree::removeNode(Node* node, int flags, RBTreeIterator* iterator) {
    HKey* key = node->key;
    void* value = node->value;
    Node* spliced = spliceOut(node);
    disposeEntry(key, value, flags);
    if (cursor == spliced) {
        cursor = nil;
    }
    if (lastNode == spliced) {
        forgetSearch();
    }
    if (iterator != nullptr && iterator->node == spliced) {
        iterator->node = node;
    }
    delete spliced;
    --size;
    return (flags & DestroyValue) != 0 && destroyValue != nullptr ? nullptr : value;
}

int RBTree::remove(HKey* key, void*& value, int flags) {
    value = nullptr;
    if (key == nullptr) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    Node* node = find(key);
    if (node == nil) {
        Thread::setLastError(HE_NOENT);
        return -1;
    }
    value = removeNode(node, flags, nullptr);
    return 0;
}

int RBTree::remove(HKey* key, int flags) {
    void* value = nullptr;
    return RBTree::remove(key, value, flags);
}

int RBTree::remove(int flags) {
    if (lastKey == nullptr || lastNode == nil) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    removeNode(lastNode, flags, nullptr);
    forgetSearch();
    return 0;
}

int RBTree::remove(RBTreeIterator*& iterator, int flags) {
    if (iterator == nullptr || iterator->node == nullptr || iterator->node->key == nullptr) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    Node* old = iterator->node;
    const int result = iterator->next();
    removeNode(old, flags, iterator);
    return result;
}

// Bottom up along the parent links, with neither recursion nor a stack.
int RBTree::empty(int flags) {
    Node* node = root;
    while (node != nil) {
        if (node->left != nil) {
            node = node->left;
        } else if (node->right != nil) {
            node = node->right;
        } else {
            Node* parent = node->parent;
            if (parent != nil) {
                (node == parent->left ? parent->left : parent->right) = nil;
            }
            disposeEntry(node->key, node->value, flags);
            delete node;
            node = parent;
        }
    }
    root = cursor = nil;
    forgetSearch();
    size = 0;
    return 0;
}

// ---- Iterators -------------------------------------------------------------------------------

RBTreeIterator* RBTree::getIterator() const {
    return new RBTreeIterator(this);
}

void RBTreeIterator::get(HKey*& key, void*& value) const {
    key = node != nullptr ? node->key : nullptr;
    value = node != nullptr ? node->value : nullptr;
}

int RBTreeIterator::moveTo(RBTree::Node* target) {
    node = target;
    if (target == nullptr) {
        Thread::setLastError(HE_NOENT);
        return -1;
    }
    return 0;
}

int RBTreeIterator::first() {
    if (tree == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    return moveTo(tree->firstRBTreeNode());
}

int RBTreeIterator::next() {
    if (tree == nullptr || node == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    return moveTo(tree->nextRBTreeNode(node));
}

int RBTreeIterator::last() {
    if (tree == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    return moveTo(tree->lastRBTreeNode());
}

int RBTreeIterator::previous() {
    if (tree == nullptr || node == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    return moveTo(tree->previousRBTreeNode(node));
}
