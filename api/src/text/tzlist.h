/// @file
/// A doubly linked list that always ends in a node of its own.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <utility>

/// Doubly linked list with an end node, made with the list, which holds a default value and always
/// stays last; so T needs a default constructor. An iterator is a node pointer: it stays valid
/// until its own node is erased, also while nodes move to another list by `merge` or `sort`.
template <class T>
class tzList {
  struct Node {
    Node* next = nullptr;
    Node* prev = nullptr;
    T value{};
  };

  template <class Value>
  class Iterator {
   public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = Value*;
    using reference = Value&;

    Iterator() = default;
    /// An iterator serves as a const_iterator, not the other way round.
    operator Iterator<const T>() const { return Iterator<const T>(m_node); }

    reference operator*() const { return m_node->value; }
    pointer operator->() const { return &m_node->value; }
    Iterator& operator++() {
      m_node = m_node->next;
      return *this;
    }
    Iterator& operator--() {
      m_node = m_node->prev;
      return *this;
    }
    Iterator operator++(int) { return std::exchange(*this, Iterator(m_node->next)); }
    Iterator operator--(int) { return std::exchange(*this, Iterator(m_node->prev)); }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.m_node == b.m_node; }

   private:
    friend class tzList;
    template <class Other>
    friend class Iterator;
    explicit Iterator(Node* node) : m_node(node) {}
    Node* m_node = nullptr;
  };

 public:
  using value_type = T;
  using size_type = std::size_t;
  using reference = T&;
  using const_reference = const T&;
  using iterator = Iterator<T>;
  using const_iterator = Iterator<const T>;

  tzList() : m_first(new Node), m_end(m_first) {}
  tzList(std::initializer_list<T> values) : tzList() { append(values); }
  tzList(const tzList& other) : tzList() { append(other); }
  tzList(tzList&& other) noexcept : tzList() { swap(other); }  // out of memory ends the program
  tzList& operator=(const tzList& other) {
    if (this != &other) tzList(other).swap(*this);
    return *this;
  }
  tzList& operator=(tzList&& other) noexcept {
    swap(other);
    return *this;
  }
  ~tzList() {
    clear();
    delete m_end;
  }

  void swap(tzList& other) noexcept {
    std::swap(m_first, other.m_first);
    std::swap(m_end, other.m_end);
  }

  iterator begin() { return iterator(m_first); }
  iterator end() { return iterator(m_end); }
  const_iterator begin() const { return const_iterator(m_first); }
  const_iterator end() const { return const_iterator(m_end); }

  bool empty() const { return m_first == m_end; }
  /// Counted by walking the list.
  size_type size() const { return static_cast<size_type>(std::distance(begin(), end())); }
  int count() const { return static_cast<int>(size()); }

  /// @name The ends of a list that is not empty
  /// @{
  T& front() { return m_first->value; }
  const T& front() const { return m_first->value; }
  T& back() { return m_end->prev->value; }
  const T& back() const { return m_end->prev->value; }
  void pop_front() { erase(begin()); }
  void pop_back() { erase(--end()); }
  /// @}

  void push_front(T value) { insert(begin(), std::move(value)); }
  void push_back(T value) { insert(end(), std::move(value)); }

  /// Puts a node holding `value` before `position`.
  /// @return the new node
  iterator insert(const_iterator position, T value) {
    Node* node = new Node{nullptr, nullptr, std::move(value)};
    link(node, position.m_node);
    return iterator(node);
  }

  /// @param position  not the end
  /// @return the following node
  iterator erase(const_iterator position) {
    Node* const following = position.m_node->next;
    delete unlink(position.m_node);
    return iterator(following);
  }

  /// Erases from `first` up to, not including, `last`.
  iterator erase(const_iterator first, const_iterator last) {
    while (first != last) first = erase(first);
    return iterator(last.m_node);
  }

  void clear() { erase(begin(), end()); }

  /// Moves the elements of `other` into this list; both must be sorted by `less`. Stable: equal
  /// elements of this list come first. `other` ends empty; merging a list with itself does nothing.
  template <class Less>
  void merge(tzList& other, Less less) {
    if (this == &other) return;
    for (Node* here = m_first; here != m_end; here = here->next) {
      while (!other.empty() && less(other.front(), here->value)) other.moveFirst(*this, here);
    }
    while (!other.empty()) other.moveFirst(*this, m_end);
  }

  /// Sorts stably: a bottom-up merge sort over a ladder of 16 partial lists, in which rung i is
  /// empty or holds a sorted run of 2^i elements. Elements climb the ladder from rung 0, merging
  /// with what they meet; the last rung takes whatever reaches it.
  template <class Less>
  void sort(Less less) {
    std::array<tzList, 16> ladder;
    tzList carry;
    while (!empty()) {
      moveFirst(carry, carry.m_end);
      size_type rung = 0;
      while (rung < ladder.size() - 1 && !ladder[rung].empty()) {
        ladder[rung].merge(carry, less);
        carry.swap(ladder[rung++]);
      }
      ladder[rung].merge(carry, less);
    }
    for (tzList& rung : ladder) {  // a higher rung holds earlier elements
      rung.merge(*this, less);
      swap(rung);
    }
  }

 private:
  template <class Range>
  void append(const Range& values) {
    for (const T& value : values) push_back(value);
  }

  void link(Node* node, Node* following) {
    node->next = following;
    node->prev = following->prev;
    (node->prev != nullptr ? node->prev->next : m_first) = node;
    following->prev = node;
  }

  Node* unlink(Node* node) {
    (node->prev != nullptr ? node->prev->next : m_first) = node->next;
    node->next->prev = node->prev;
    return node;
  }

  void moveFirst(tzList& target, Node* following) { target.link(unlink(m_first), following); }

  Node* m_first;
  Node* m_end;
};
