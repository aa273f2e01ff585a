// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_LIMITEDSIZESET_H
#define SELVANE_CROSSCORRELATION_LIMITEDSIZESET_H

#include <cstddef>
#include <functional>
#include <iterator>
#include <set>
#include <stdexcept>
#include <vector>

/// Ordered set of bounded size, best element first. The order is T::operator>, and of elements that it calls
/// equivalent the set keeps one.
template <typename T>
class LimitedSizeSet {
public:
    using const_iterator = typename std::set<T, std::greater<T>>::const_iterator;

    /// @param maxSize  the limit, at least 1
    /// @throws std::invalid_argument for a limit of 0
    explicit LimitedSizeSet(std::size_t maxSize) : m_maxSize(maxSize) {
        if (maxSize == 0) {
            throw std::invalid_argument("LimitedSizeSet: the limit must be at least 1");
        }
    }

    /// Offers a copy of `item`. A full set refuses what is not better than its worst element and else drops
    /// that element first; an element equivalent to one present is not inserted.
    void add(const T& item) {
        if (isFull()) {
            if (!(item > last())) {
                return;
            }
            m_set.erase(std::prev(m_set.end()));
        }
        // Deliberate: the element dropped above stays dropped if this insertion finds an equivalent one, so
        // the set may shrink by one. Only the lowest of the retained candidates is ever lost that way.
        m_set.insert(item);
    }

    std::size_t size() const { return m_set.size(); }
    std::size_t getMaxSize() const { return m_maxSize; }
    bool isFull() const { return m_set.size() >= m_maxSize; }

    /// The worst element held.
    /// @throws std::out_of_range if the set is empty
    const T& last() const {
        if (m_set.empty()) {
            throw std::out_of_range("LimitedSizeSet: no last element in an empty set");
        }
        return *m_set.rbegin();
    }

    /// Best first.
    const_iterator begin() const { return m_set.begin(); }
    const_iterator end() const { return m_set.end(); }

    /// Calls f(T&) for every element, best first, so that data that take no part in the order can be filled
    /// in later. `f` must leave alone what operator> reads.
    template <typename F>
    void forEach(F&& f) {
        for (const T& element : m_set) {
            // The elements are const only to protect the order; the objects in the tree's nodes are not.
            f(const_cast<T&>(element));
        }
    }

    /// Copies of all elements, best first.
    std::vector<T> toStdVector() const { return std::vector<T>(m_set.begin(), m_set.end()); }

private:
    std::set<T, std::greater<T>> m_set;
    std::size_t m_maxSize;
};

#endif // SELVANE_CROSSCORRELATION_LIMITEDSIZESET_H
