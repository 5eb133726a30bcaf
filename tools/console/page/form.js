// SPDX-License-Identifier: Apache-2.0
// The settings of one route as a form: what is edited becomes a request.
import {api} from "./api.js";
import {h} from "./dom.js";
import {matrix_view} from "./matrix.js";
import {plan_view, sum_of} from "./plan.js";
import {changed, say, store, trying} from "./store.js";
import {bytes_in, passes} from "./text.js";

const PLAN_DELAY = 120; // ms after the last key press
const OTHER = "other value…";

// A form: {route, keys: [...] of the vocabulary, values: {key: current}, edits: {key: text}, others: {key: true} for a
// value typed instead of chosen, shown: {key: true} for a secret to be seen, added: [key names of the user's own],
// plan, planning, matrix, push}
function form_of(route) {
  return store.forms[route.name] ??= {route, keys: [], values: {}, edits: {}, others: {}, shown: {}, added: [],
    own_key: "", plan: null, planning: null, matrix: null, push: null, pushing: false};
}

export async function load_form(route) {
  const form = form_of(route);
  form.keys = await api.keys(route.set);
  await load_values(form);
}

export async function load_values(form) {
  form.values = await api.settings(form.route.read, form.keys.map((row) => row.key));
  await ask_for_plan(form);
  changed();
}

export const request_of = (form) => ({...form.edits});

const is_edited = (form) => Object.keys(form.edits).length > 0;

export function edit(form, key, text) {
  const is_current = !form.added.includes(key) && text === (form.values[key] ?? "");
  if (is_current) delete form.edits[key];
  else form.edits[key] = text;
  form.push = null;
  plan_soon(form);
  changed();
}

export function drop(form, key) {
  delete form.edits[key];
  delete form.others[key];
  form.added = form.added.filter((name) => name !== key);
  plan_soon(form);
  changed();
}

export function drop_all(form) {
  Object.assign(form, {edits: {}, others: {}, added: [], plan: null, matrix: null, push: null});
  say("All edits are discarded.");
}

function plan_soon(form) {
  clearTimeout(form.timer);
  form.timer = setTimeout(() => trying(() => ask_for_plan(form)), PLAN_DELAY);
}

// Of several questions under way only the last counts.
async function ask_for_plan(form) {
  form.planning?.abort();
  form.planning = null;
  if (!is_edited(form)) {
    form.plan = null;
    form.matrix = null;
    return;
  }
  const asked = form.planning = new AbortController();
  const plan = await api.plan(form.route.set, request_of(form), asked.signal);
  if (form.planning !== asked) return;
  form.plan = plan;
  changed();
  if (form.matrix) form.matrix = await api.matrix(form.route.set, request_of(form), asked.signal);
  if (form.planning === asked) form.planning = null;
  changed();
}

// --- One setting -----------------------------------------------------------------------------------------------------

const outcome_of = (form, key) => form.plan?.keys.find((row) => row.key === key);

const is_switch = (words) => words.length === 2 && words.includes("1") && words.includes("0");

function word_label(words, word) {
  if (!is_switch(words)) return word;
  return word === "1" ? "yes (1)" : "no (0)";
}

function choice(form, row, id, value) {
  const words = row.words.includes(value) || value === "" ? row.words : [...row.words, value];
  return h("select", {id, value, "aria-describedby": `${id}-about`, onchange: (event) => {
    if (event.target.value === OTHER) {
      form.others[row.key] = true;
      changed();
    } else edit(form, row.key, event.target.value);
  }},
    value === "" && h("option", {value: ""}, "(not set)"),
    words.map((word) => h("option", {value: word}, word_label(row.words, word))),
    !row.closed && h("option", {value: OTHER}, OTHER));
}

function text_field(form, row, id, value) {
  const hidden = row.secret && !form.shown[row.key];
  return [
    h("input", {id, value, type: hidden ? "password" : "text", autocomplete: "off", spellcheck: "false",
      autocapitalize: "off", "aria-describedby": `${id}-about`,
      oninput: (event) => edit(form, row.key, event.target.value)}),
    row.secret && h("button", {type: "button", class: "plain", "aria-pressed": String(!hidden),
      "aria-label": `Show ${row.title}`, onclick: () => {
        form.shown[row.key] = hidden;
        changed();
      }}, hidden ? "show" : "hide"),
  ];
}

// Said while typing; the plan says what becomes of it.
function live_hint(row, value) {
  const count = `${bytes_in(value)} bytes`;
  if (!row.check || value === "") return count;
  const passed = passes(row.check, value);
  if (passed === null) return count;
  const limits = row.min_bytes > 0 && row.max_bytes ? ` (${row.min_bytes} to ${row.max_bytes} bytes)` : "";
  return h("span", {class: passed ? "good" : "bad", title: row.check},
    `${count}, ${passed ? "passes" : "fails"} the check${limits}`);
}

function setting(form, row) {
  const id = `${form.route.name}-${row.key}`;
  const edited = row.key in form.edits;
  const value = edited ? form.edits[row.key] : form.values[row.key] ?? "";
  const outcome = outcome_of(form, row.key);
  const chosen = row.words.length > 0 && !form.others[row.key];
  return h("div", {class: edited ? "setting edited" : "setting", key: row.key},
    h("label", {for: id}, row.title, row.unit && h("span", {class: "unit"}, ` in ${row.unit}`)),
    h("code", {class: "key"}, row.key),
    h("div", {class: "control"},
      chosen ? choice(form, row, id, value) : text_field(form, row, id, value),
      edited && h("button", {type: "button", class: "plain", "aria-label": `Undo ${row.title}`,
        onclick: () => drop(form, row.key)}, "undo")),
    h("p", {class: "about", id: `${id}-about`}, row.description, edited && !chosen && [" ", live_hint(row, value)]),
    edited && outcome && h("p", {class: `verdict ${outcome.outcome}`},
      h("strong", {}, outcome.outcome), outcome.message && `: ${outcome.message}`,
      outcome.suggestion && `; did you mean ${outcome.suggestion}?`));
}

const own_row = (key) => ({key, title: key, unit: "", description: "A key of your own.", words: [], secret: false});

function own_keys(form) {
  const add = (event) => {
    event.preventDefault();
    const key = form.own_key.trim();
    if (!key || form.added.includes(key) || form.keys.some((row) => row.key === key)) return;
    form.added.push(key);
    form.own_key = "";
    edit(form, key, "");
    requestAnimationFrame(() => document.getElementById(`${form.route.name}-${key}`)?.focus());
  };
  return h("details", {class: "group", key: "own", open: form.added.length > 0 || undefined},
    h("summary", {}, h("h3", {}, "Another key")),
    form.added.map((key) => setting(form, own_row(key))),
    h("form", {class: "add", onsubmit: add},
      h("label", {for: `${form.route.name}-own`}, "Key"),
      h("input", {id: `${form.route.name}-own`, value: form.own_key, autocomplete: "off", spellcheck: "false",
        oninput: (event) => {
          form.own_key = event.target.value;
        }}),
      h("button", {type: "submit"}, "Add")));
}

function group(form, name, rows, is_first) {
  const edited = rows.filter((row) => row.key in form.edits).length;
  return h("details", {class: "group", key: name, open: is_first || edited > 0 || undefined},
    h("summary", {}, h("h3", {}, name), edited > 0 && h("span", {class: "count"}, `${edited} edited`)),
    rows.map((row) => setting(form, row)));
}

export function form_view(route) {
  const form = form_of(route);
  const names = [...new Set(form.keys.map((row) => row.group))];
  return [
    h("div", {class: "columns", key: route.name},
      h("section", {class: "form", "aria-label": "Settings"},
        h("h2", {}, route.name === "brand" ? "Provision this router" : "Settings of this router"),
        h("p", {class: "lead"}, "These are its current values. Edit some: what a push would do shows at once, and " +
          "nothing is sent before you push."),
        form.keys.length === 0 && h("p", {class: "quiet"}, "Finding out what this model takes…"),
        names.map((name, index) => group(form, name, form.keys.filter((row) => row.group === name), index === 0)),
        form.keys.length > 0 && own_keys(form),
        form.plan && is_edited(form) && h("button", {type: "button", class: "primary jump", key: "jump",
          onclick: () => document.querySelector(".plan h2").scrollIntoView()}, `See the plan: ${sum_of(form.plan)}`)),
      plan_view(form)),
    matrix_view(form),
  ];
}
