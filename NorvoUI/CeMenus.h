// A builder of menu bars and popup menus by command id: what producers of menus tell the bar that shows them. The state
// of a command is kept here for whoever draws the bar. Main thread only.
#pragma once

#include "Platform/types.h"

#include <map>

class QN_API CeMenus {
public:
    virtual ~CeMenus() = default;

    virtual void EnableItem(UINT id, bool enabled) { m_items[id].enabled = enabled; }
    virtual void DepressButton(UINT id, bool depressed) { m_items[id].depressed = depressed; }
    bool IsEnabled(UINT id) const {
        const auto item = m_items.find(id);
        return item == m_items.end() || item->second.enabled;
    }
    bool IsDepressed(UINT id) const {
        const auto item = m_items.find(id);
        return item != m_items.end() && item->second.depressed;
    }

private:
    struct Item {
        bool enabled = true;
        bool depressed = false;
    };
    std::map<UINT, Item> m_items;
};
