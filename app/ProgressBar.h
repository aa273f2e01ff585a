// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_PROGRESSBAR_H
#define SELVANE_APP_PROGRESSBAR_H

#include <iostream>

#include "Math/cVector3.h"

/// The state of a loop's text bar, shared by its workers. Drawn under the lock of the loop.
struct ProgressBar {
    int m_total;     ///< number of tasks
    int m_width;     ///< characters between the brackets
    int m_last = -1; ///< the position drawn last

    /// Draws "[===>   ] 42 %" over the previous bar, if its position changed since.
    /// @param done  tasks counted as done; of no tasks none is done
    void draw(int done) {
        const float fraction = m_total == 0 ? 0.0F : static_cast<float>(done) / static_cast<float>(m_total);
        const int position = truncateToInt(static_cast<float>(m_width) * fraction);
        if (position == m_last) {
            return;
        }
        m_last = position;
        std::cout << "[";
        for (int i = 0; i < m_width; ++i) {
            std::cout << (i < position ? '=' : i == position ? '>' : ' ');
        }
        std::cout << "] " << truncateToInt(static_cast<double>(fraction) * 100.0) << " %\r" << std::flush;
    }
};

#endif
