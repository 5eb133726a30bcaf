// SPDX-License-Identifier: Apache-2.0
// What happened in the box, as one list in true order.
import {h} from "./dom.js";
import {changed, store} from "./store.js";

const KINDS = {request: "requests", change: "UCI changes", command: "commands", journal: "journal", log: "log"};
const MOST_EVENTS = 5000;
const MOST_ROWS = 400;
const SHORT_TEXT = 240; // characters of an event that show before it is unfolded
const TICK = 250; // ms

const list = store.timeline;
for (const kind of Object.keys(KINDS)) list.kinds[kind] = true;

export function follow_timeline() {
  const source = new EventSource("/api/timeline");
  source.onopen = () => {
    list.connected = true;
    changed();
  };
  source.onerror = () => {
    list.connected = false;
    changed();
  };
  source.onmessage = (message) => take(JSON.parse(message.data));
  setInterval(() => {
    if (running_request()) {
      store.now = Date.now();
      changed();
    }
  }, TICK);
}

function take(events) {
  const known = new Set(list.events.slice(-MOST_EVENTS).map((event) => event.number));
  const fresh = events.filter((event) => !known.has(event.number));
  const last = list.events.at(-1);
  list.events.push(...fresh);
  // Sources differ in how soon they arrive.
  if (last && fresh.some((event) => event.time < last.time))
    list.events.sort((a, b) => (a.time < b.time ? -1 : a.time > b.time ? 1 : a.number - b.number));
  if (list.events.length > MOST_EVENTS) list.events.splice(0, list.events.length - MOST_EVENTS);
  store.now = Date.now();
  changed();
}

const is_boot = (event) => event.kind === "journal" && event.what === "boot";

// The request that the daemon works on; a restart ends it.
export function running_request() {
  for (let index = list.events.length - 1, waits = 0; index >= 0; --index) {
    const event = list.events[index];
    if (event.kind === "request" && event.what === "reply" || is_boot(event)) return null;
    if (event.what === "sleep") waits += 1;
    if (event.kind === "request")
      return {path: event.text[0].trim(), seconds: Math.max(0, (store.now - Date.parse(event.time)) / 1000), waits,
        number: event.number};
  }
  return null;
}

export const seconds_text = (seconds) => `${seconds.toFixed(1)} s`;

const text_of = (event) => event.text.map((piece) => piece.secret ?? piece).join("");

const clock_of = (time) => time.slice(11, 23);

const date_of = (time) => time.slice(0, 10);

function piece_of(piece) {
  if (typeof piece === "string") return piece;
  return list.secrets ? h("mark", {}, piece.secret) : h("span", {class: "secret", title: "hidden"}, "••••••");
}

// What the reader sees must be what is looked through: a hidden secret is not found.
function matches(event, wanted) {
  const text = list.secrets ? text_of(event) : event.text.filter((piece) => typeof piece === "string").join("");
  return `${event.what} ${text}`.toLowerCase().includes(wanted);
}

// Waits in a row become one row with their number.
function folded(events) {
  const rows = [];
  for (const event of events) {
    const before = rows.at(-1);
    if (event.what === "sleep" && before?.event.what === "sleep") before.count += 1;
    else rows.push({event, count: 1});
  }
  return rows;
}

// The pieces up to so many characters.
function start_of(pieces, room) {
  const start = [];
  for (const piece of pieces) {
    const text = piece.secret ?? piece;
    if (text.length >= room) return [...start, piece.secret ? piece : text.slice(0, room), "…"];
    start.push(piece);
    room -= text.length;
  }
  return start;
}

function text_view(event) {
  const is_long = text_of(event).length > SHORT_TEXT;
  if (!is_long) return event.text.map(piece_of);
  const is_whole = list.whole[event.number];
  return [(is_whole ? event.text : start_of(event.text, SHORT_TEXT)).map(piece_of), " ",
    h("button", {type: "button", class: "plain more", "aria-expanded": String(Boolean(is_whole)), onclick: () => {
      list.whole[event.number] = !is_whole;
      changed();
    }}, is_whole ? "less" : "more")];
}

function row_view({event, count}, running) {
  const is_running = running?.number === event.number;
  return h("li", {key: event.number, class: is_boot(event) ? "event boot" : `event ${event.kind}`},
    h("time", {datetime: event.time, title: date_of(event.time)}, clock_of(event.time)),
    h("span", {class: `badge ${event.kind}`}, event.kind),
    h("span", {class: "what"}, is_boot(event) ? "start" : event.what),
    h("span", {class: "text"}, is_boot(event) ? "The router started." : text_view(event),
      count > 1 && h("strong", {}, ` × ${count}`),
      is_running && h("strong", {class: "elapsed"}, ` runs for ${seconds_text(running.seconds)}`)));
}

function shown_events() {
  const wanted = list.text.trim().toLowerCase();
  return list.events.filter((event) => list.kinds[event.kind] && (wanted === "" || matches(event, wanted)));
}

function filters(count) {
  return h("div", {class: "filters"},
    h("fieldset", {}, h("legend", {}, "Show"), Object.entries(KINDS).map(([kind, title]) =>
      h("label", {class: "check"}, h("input", {type: "checkbox", checked: list.kinds[kind], name: kind,
        onchange: (event) => {
          list.kinds[kind] = event.target.checked;
          changed();
        }}), title))),
    h("label", {class: "search"}, "With the text ", h("input", {type: "search", value: list.text, oninput: (event) => {
      list.text = event.target.value;
      changed();
    }})),
    h("button", {type: "button", "aria-pressed": String(list.secrets), onclick: () => {
      list.secrets = !list.secrets;
      changed();
    }}, list.secrets ? "Hide secrets" : "Show secrets"),
    h("span", {class: "quiet"}, `${count} of ${list.events.length}`));
}

export function timeline_view() {
  const events = shown_events();
  const rows = folded(events).slice(-(MOST_ROWS + list.rows));
  const running = running_request();
  return h("section", {class: "timeline", key: "timeline", "aria-label": "Timeline"},
    h("h2", {}, "Timeline"),
    h("p", {class: "lead"}, "What is asked of the router and what it does, newest first, by its own clock (UTC)."),
    filters(events.length),
    h("ol", {class: "events", reversed: true}, rows.reverse().map((row) => row_view(row, running))),
    rows.length < events.length && h("button", {type: "button", onclick: () => {
      list.rows += MOST_ROWS;
      changed();
    }}, "Show earlier"));
}
