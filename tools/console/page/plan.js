// SPDX-License-Identifier: Apache-2.0
// What a request will do, and after a push what it did.
import {api} from "./api.js";
import {h} from "./dom.js";
import {drop_all, load_values, request_of} from "./form.js";
import {changed, say, store, trying} from "./store.js";
import {curl_line, plural} from "./text.js";

const SHOWN_LENGTH = 300;

const cut = (text) => (text.length > SHOWN_LENGTH ? `${text.slice(0, SHOWN_LENGTH)}…` : text);

const title_of = (form, key) => form.keys.find((row) => row.key === key)?.title ?? key;

// "2 changed, 1 refused"
export function sum_of(plan) {
  const counts = new Map();
  for (const row of plan.keys) counts.set(row.outcome, (counts.get(row.outcome) ?? 0) + 1);
  return [...counts].map(([outcome, count]) => `${count} ${outcome}`).join(", ");
}

function then_text(plan) {
  const after = {reboot: "The router reboots.", notify: "The cloud client is told; nothing restarts.",
    restart: "The network restarts.", none: "Nothing else follows."}[plan.then] ?? `Then: ${plan.then}.`;
  return plan.seconds > 0 ? `${after} The request itself takes ${plan.seconds} s.` : after;
}

function outcomes(form, plan) {
  return h("ul", {class: "outcomes"}, plan.keys.map((row) => h("li", {key: row.key, class: row.outcome},
    h("span", {class: `badge ${row.outcome}`}, row.outcome),
    h("span", {class: "what"}, h("strong", {}, title_of(form, row.key)), " ", h("code", {}, row.key),
      row.message && h("span", {class: "why"}, row.message),
      row.suggestion && h("span", {class: "why"}, `Did you mean ${row.suggestion}?`)))));
}

export function changes_table(changes, label) {
  if (changes.length === 0) return h("p", {class: "quiet"}, "No option changes.");
  return h("table", {class: "changes"},
    h("caption", {class: "unseen"}, label),
    h("thead", {}, h("tr", {}, h("th", {scope: "col"}, "Option"), h("th", {scope: "col"}, "Old and new"))),
    h("tbody", {}, changes.map((change) => h("tr", {key: change.path},
      h("th", {scope: "row"}, h("code", {}, change.path)),
      h("td", {},
        h("del", {}, h("span", {class: "unseen"}, "old "), cut(change.from ?? "(nothing)")),
        h("ins", {}, h("span", {class: "unseen"}, "new "), cut(change.to ?? "(nothing)")))))));
}

const COMMANDS = ["system", "exec", "fork", "line", "ucireturn", "popen"];

function effect_line(effect) {
  const subject = effect.path ?? effect.package ?? effect.command ?? effect.interface ?? effect.message ?? "";
  if (effect.kind === "set") return `set ${subject} = ${cut(effect.value ?? "")}`;
  if (effect.kind === "iwpriv") return `iwpriv ${subject} set ${effect.parameter}=${effect.value}`;
  if (effect.kind === "sleep") return `sleep ${effect.seconds} s`;
  return `${effect.kind} ${cut(String(subject))}`.trim();
}

// The same line several times in a row once, with its count.
function folded(lines) {
  const rows = [];
  for (const line of lines) {
    if (rows.at(-1)?.line === line) rows.at(-1).count += 1;
    else rows.push({line, count: 1});
  }
  return rows;
}

function effects_list(effects) {
  return h("ol", {class: "effects"}, folded(effects.map(effect_line)).map((row) =>
    h("li", {}, h("code", {}, row.line), row.count > 1 && h("span", {class: "times"}, ` × ${row.count}`))));
}

function copy_button(text, what) {
  return h("button", {type: "button", class: "plain", onclick: async () => {
    await navigator.clipboard.writeText(text);
    say(`${what} is copied.`);
  }}, `Copy ${what}`);
}

function as_text(form) {
  const request = request_of(form);
  const json = JSON.stringify(request, null, 2);
  const line = curl_line(store.router.url + form.route.set, request);
  return h("details", {class: "box", key: "request"},
    h("summary", {}, "The request as JSON and as a command line"),
    h("pre", {class: "json", tabindex: "0", "aria-label": "Request as JSON"}, json), copy_button(json, "the JSON"),
    h("pre", {class: "curl", tabindex: "0", "aria-label": "Request as a command line"}, line),
    copy_button(line, "the command line"));
}

async function push(form) {
  form.pushing = true;
  changed();
  await trying(async () => {
    try {
      form.push = await api.push(form.route.set, request_of(form));
      say(form.push.faults.length === 0 ? "Pushed. Everything happened as planned." :
        `Pushed. ${plural(form.push.faults.length, "difference", "differences")} from the plan.`);
      Object.assign(form, {edits: {}, others: {}, added: [], plan: null, matrix: null});
      await load_values(form);
    } finally {
      form.pushing = false;
    }
  });
}

async function compare(form) {
  form.matrix = form.matrix ? null : await api.matrix(form.route.set, request_of(form));
  if (form.matrix) requestAnimationFrame(() => document.getElementById("matrix")?.scrollIntoView());
}

function empty_plan() {
  return h("p", {class: "quiet"}, "You have not edited anything yet. Change a setting, and this says what a push " +
    "would do to this very router: which values it takes or refuses and why, which options change, and whether it reboots.");
}

function planned(form) {
  const {plan} = form;
  return [
    h("p", {class: "sum", key: "sum"}, h("strong", {}, sum_of(plan)), ". ", then_text(plan)),
    outcomes(form, plan),
    h("h3", {}, "Options"),
    changes_table(plan.changes, "Options that change"),
    (plan.notes ?? []).map((note) => h("p", {class: "quiet"}, note)),
    h("details", {class: "box", key: "effects"}, h("summary", {}, "Everything it does, in order"),
      effects_list(plan.effects)),
  ];
}

function side_by_side(what, left, right) {
  return [h("h3", {}, what),
    h("div", {class: "sides"},
      h("div", {class: "side"}, h("h4", {}, "Planned"), left),
      h("div", {class: "side"}, h("h4", {}, "Happened"), right))];
}

function answer_text(side) {
  return h("code", {class: "answer"}, `${side.result} ${JSON.stringify(side.response)}`);
}

function fault_list(faults) {
  return h("table", {class: "faults"}, h("caption", {}, "Differences"),
    h("thead", {}, h("tr", {}, ["What", "Planned", "Happened"].map((text) => h("th", {scope: "col"}, text)))),
    h("tbody", {}, faults.map((fault) => h("tr", {}, h("th", {scope: "row"}, fault.what),
      h("td", {}, h("pre", {}, fault.planned)), h("td", {}, h("pre", {}, fault.happened))))));
}

function pushed(form) {
  const {plan, reality, faults} = form.push;
  const shown = reality.effects.filter((effect) => !effect.nested);
  return h("div", {class: "pushed", key: "pushed"},
    faults.length === 0 ?
      h("p", {class: "banner good"}, `Pushed: everything happened as planned, in ${reality.seconds} s.`) :
      h("p", {class: "banner bad"}, `Pushed: ${plural(faults.length, "difference", "differences")} between plan and ` +
        "reality. Somebody should look into this."),
    faults.length > 0 && fault_list(faults),
    outcomes(form, plan),
    side_by_side("Answer", answer_text(plan), answer_text(reality)),
    side_by_side("Options", changes_table(plan.changes, "Planned changes"),
      changes_table(reality.changes, "Changes that happened")),
    side_by_side("Effects", effects_list(plan.effects.filter((effect) => shown_kinds(shown).has(effect.kind))),
      effects_list(shown)),
    h("p", {}, h("a", {href: "#timeline"}, "See it in the timeline")));
}

const shown_kinds = (effects) => new Set([...effects.map((effect) => effect.kind), "set", "delete", "commit", "system",
  "exec", "fork", "iwpriv", "sleep"]);

function actions(form) {
  const is_edited = Object.keys(form.edits).length > 0;
  if (!is_edited) return null;
  return h("div", {class: "actions", key: "actions"},
    h("button", {type: "button", class: "primary", disabled: form.pushing || !form.plan, onclick: () => push(form)},
      form.pushing ? "Pushing…" : "Push to this router"),
    h("button", {type: "button", "aria-expanded": String(Boolean(form.matrix)),
      onclick: () => trying(() => compare(form))}, form.matrix ? "Hide other models" : "Compare with all models"),
    h("button", {type: "button", class: "plain", onclick: () => drop_all(form)}, "Discard"));
}

export function plan_view(form) {
  const is_edited = Object.keys(form.edits).length > 0;
  return h("section", {class: "plan", "aria-label": "Plan"},
    h("h2", {}, form.push && !is_edited ? "What the push did" : "What a push will do"),
    actions(form),
    form.plan && is_edited && planned(form),
    is_edited && as_text(form),
    !is_edited && (form.push ? pushed(form) : empty_plan()));
}
