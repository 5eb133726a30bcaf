// SPDX-License-Identifier: Apache-2.0
// Draws a tree of nodes into the document, changing only what differs. Text is set as text and nothing is ever parsed
// as markup: a node is a string, a number, nothing (null, false), a list of nodes, or what h makes.

// An element: h("button", {class: "plain", onclick: work, key: "name"}, "Push"). A property whose name begins with
// "on" is a listener; value, checked, open and the like are set as properties, all others as attributes. Among
// siblings, an element with a key keeps its place in the document when others come and go.
export function h(tag, properties, ...children) {
  return {tag, properties: properties ?? {}, children: children.flat(Infinity)};
}

const OWN = new Set(["value", "checked", "open", "disabled", "indeterminate", "selected"]);

export function render(parent, nodes) {
  patch_children(parent, [nodes].flat(Infinity));
}

function patch_children(parent, nodes) {
  const wanted = nodes.filter((node) => node !== null && node !== undefined && node !== false && node !== "");
  const by_key = new Map();
  for (const child of parent.childNodes)
    if (child.drawn_key !== undefined) by_key.set(child.drawn_key, child);
  let at = parent.firstChild;
  for (const node of wanted) {
    const key = node.properties?.key;
    let old = key === undefined ? at : by_key.get(key);
    if (old && !fits(old, node)) old = undefined;
    if (!old || (key === undefined && old.drawn_key !== undefined)) old = parent.insertBefore(create(node), at);
    else if (old === at) at = at.nextSibling;
    else parent.insertBefore(old, at);
    update(old, node);
    if (old === at) at = at.nextSibling;
  }
  while (at) {
    const next = at.nextSibling;
    at.remove();
    at = next;
  }
}

const is_element = (node) => typeof node === "object";

function fits(old, node) {
  if (!is_element(node)) return old.nodeType === Node.TEXT_NODE;
  return old.nodeType === Node.ELEMENT_NODE && old.localName === node.tag && old.drawn_key === node.properties.key;
}

function create(node) {
  if (!is_element(node)) return document.createTextNode(String(node));
  const element = document.createElement(node.tag);
  element.drawn = {};
  element.drawn_key = node.properties.key;
  return element;
}

function update(old, node) {
  if (!is_element(node)) {
    if (old.data !== String(node)) old.data = String(node);
    return;
  }
  const before = old.drawn ?? {};
  for (const name of Object.keys(before))
    if (!(name in node.properties)) set(old, name, before[name], undefined);
  if (node.tag !== "select") patch_children(old, node.children);
  for (const [name, value] of Object.entries(node.properties)) set(old, name, before[name], value);
  if (node.tag === "select") {
    patch_children(old, node.children);
    if (node.properties.value !== undefined) old.value = node.properties.value;
  }
  old.drawn = node.properties;
}

function set(element, name, before, value) {
  if (name === "key") return;
  if (name.startsWith("on")) {
    if (before !== value) element[name] = value ?? null;
  } else if (OWN.has(name)) {
    const wanted = value ?? (name === "value" ? "" : false);
    if (name === "open" && (!value || before)) return; // what the reader opens or shuts stays so
    if (element[name] !== wanted) element[name] = wanted;
  } else if (before !== value) {
    if (value === undefined || value === null || value === false) element.removeAttribute(name);
    else element.setAttribute(name, value === true ? "" : String(value));
  }
}
