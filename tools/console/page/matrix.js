// SPDX-License-Identifier: Apache-2.0
// The same request over all models: keys down, models across.
import {h} from "./dom.js";
import {store} from "./store.js";

const SIGNS = {changed: "✓", same: "=", applied: "✓", refused: "✗", ignored: "–", unknown: "?"};

function reason_of(row) {
  return [row.message ?? row.reason, row.suggestion && `did you mean ${row.suggestion}?`].filter(Boolean).join("; ");
}

// The reason shows on hover and on focus; each cell can be reached with the keyboard.
function cell(model, row) {
  const reason = reason_of(row);
  const id = `reason-${model}-${row.key}`;
  return h("td", {key: model, class: row.outcome},
    h("button", {type: "button", class: "cell", "aria-describedby": reason ? id : undefined,
      "aria-label": `${row.key} on ${model}: ${row.outcome}`},
      h("span", {"aria-hidden": "true"}, SIGNS[row.outcome] ?? "!")),
    reason && h("span", {class: "tip", role: "tooltip", id}, `${model}: ${row.outcome}, ${reason}`));
}

const outcome_of = (plan, key) => plan.keys?.find((row) => row.key === key) ?? {key, outcome: "unknown"};

export function matrix_view(form) {
  if (!form.matrix) return null;
  const keys = Object.keys(form.edits);
  return h("section", {id: "matrix", class: "matrix", key: "matrix", "aria-label": "All models"},
    h("h2", {}, "The same request on every model"),
    h("p", {class: "lead"}, "Each model fresh from the factory. Hover over a cell, or step to it with the Tab " +
      "key, for the reason."),
    h("p", {class: "legend"}, Object.entries(SIGNS).map(([outcome, sign]) =>
      h("span", {class: outcome}, h("b", {}, sign), ` ${outcome} `))),
    h("div", {class: "scroll", tabindex: "0", role: "region", "aria-label": "Outcome of each key on each model"},
      h("table", {}, h("thead", {}, h("tr", {}, h("th", {scope: "col"}, "Key"), form.matrix.map((plan) =>
        h("th", {scope: "col", class: plan.model === store.router.model ? "own" : undefined},
          h("span", {}, plan.model))))),
      h("tbody", {}, keys.map((key) => h("tr", {key}, h("th", {scope: "row"}, h("code", {}, key)),
        form.matrix.map((plan) => cell(plan.model, outcome_of(plan, key)))))))));
}
