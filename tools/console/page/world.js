// SPDX-License-Identifier: Apache-2.0
// The router's world: what is outside of it, or befalls it.
import {api} from "./api.js";
import {h} from "./dom.js";
import {changed, say, store, trying} from "./store.js";

const LOOK_AGAIN = 1500; // ms, while a restart may be under way

export async function load_world() {
  store.world = await api.world();
  changed();
}

async function change(name, value, said) {
  store.world_busy = name;
  changed();
  await trying(async () => {
    try {
      await api.change_world(name, value);
      store.world_said = said;
      say(said);
      await load_world().catch(() => setTimeout(() => trying(load_world), LOOK_AGAIN));
    } finally {
      store.world_busy = "";
    }
  });
}

// A switch whose two positions are words.
function toggle(name, title, about, on, off) {
  const value = store.world[name];
  return h("li", {class: "card", key: name},
    h("div", {class: "head"}, h("h3", {id: `world-${name}`}, title),
      h("button", {type: "button", role: "switch", id: `switch-${name}`, class: "switch", "aria-checked": String(value),
        "aria-labelledby": `world-${name}`, disabled: store.world_busy === name,
        onclick: () => change(name, !value, `${title}: ${value ? off : on}.`)}, value ? on : off)),
    h("p", {class: "about"}, about));
}

function act(name, title, about, verb, said) {
  return h("li", {class: "card", key: name},
    h("div", {class: "head"}, h("h3", {}, title),
      h("button", {type: "button", id: `do-${name}`, disabled: store.world_busy === name,
        onclick: () => change(name, true, said)}, store.world_busy === name ? "…" : verb)),
    h("p", {class: "about"}, about));
}

const COMPANIONS = {absent: "absent", installed: "installed", starting: "starts after"};

function companion() {
  const {companion: state, companion_seconds: seconds} = store.world;
  const choose = (next, after) => {
    store.world_seconds = null;
    return change("companion", {state: next, seconds: after},
      `Companion: ${COMPANIONS[next]}${next === "starting" ? ` ${after} s` : ""}.`);
  };
  return h("li", {class: "card", key: "companion"},
    h("div", {class: "head"}, h("h3", {id: "world-companion"}, "Companion plug-in"),
      h("span", {class: "control"},
        h("select", {id: "companion", value: state, "aria-labelledby": "world-companion",
          onchange: (event) => choose(event.target.value, seconds)},
        Object.entries(COMPANIONS).map(([value, text]) => h("option", {value}, text))),
        state === "starting" && h("label", {class: "after"}, h("span", {class: "unseen"}, "Seconds"),
          h("input", {type: "number", id: "companion-seconds", min: "0", max: "60",
            value: store.world_seconds ?? String(seconds),
            oninput: (event) => {
              store.world_seconds = event.target.value;
            },
            onchange: (event) => choose("starting", Number(event.target.value))}), " s"))),
    h("p", {class: "about"}, "A provisioning request with xwf_enable waits up to 35 s for it. Its settings are " +
      "/etc/config/xwf; /etc/device/xwf_delay says after how many seconds they appear."));
}

export function world_view() {
  if (!store.world) return h("p", {key: "none"}, "Asking the router…");
  return h("section", {class: "world", key: "world", "aria-label": "World"},
    h("h2", {}, "The world around this router"),
    h("p", {class: "lead"}, "Change what the router finds outside, or let something happen to it. Then push, and " +
      "watch how it copes: the plan knows of these too."),
    h("p", {class: "banner good", role: "status", hidden: !store.world_said}, store.world_said),
    h("ul", {class: "cards"},
      toggle("repeater", "Repeater uplink", "While it is up, channel and bandwidth are not written. In the box: " +
        "/etc/device/repeater.", "connected", "not connected"),
      toggle("internet", "Internet", "Whether the addresses in /etc/device/ping answer.", "reachable", "not reachable"),
      companion(),
      toggle("full_disk", "Full disk", "Fills /tmp, where changes wait for their commit, with /tmp/.full.", "full",
        "has room"),
      act("log_flood", "Log flood", "2000 lines into the system log, at once.", "Flood the log",
        "2000 lines are in the log."),
      act("reboot", "Reboot", "Processes and /tmp are gone, the configuration is kept.", "Reboot",
        "The router restarts."),
      act("factory_reset", "Factory reset", "The router becomes as new: firstboot, then a reboot.", "Reset",
        "The router becomes as new.")));
}
