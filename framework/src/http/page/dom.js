// Small functions around the document. Text is always set as text, never as markup.

export const byId = (id) => document.getElementById(id);

/** Makes an element with attributes, and children that are elements or texts. */
export function element(name, attributes = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (value !== null && value !== undefined) made.setAttribute(key, value);
  }
  made.append(...children);
  return made;
}

/** Sets a text if it differs, so that a selection in it survives. */
export function setText(node, text) {
  if (node.textContent !== text) node.textContent = text;
}

/** Sets an attribute, or removes it for null, if it differs. */
export function setAttribute(node, name, value) {
  if (value === null) {
    node.removeAttribute(name);
  } else if (node.getAttribute(name) !== value) {
    node.setAttribute(name, value);
  }
}

/**
 * Shows one child per item, reusing those that exist: `make()` makes an empty child and
 * `fill(child, item)` shows an item in it.
 */
export function showList(parent, items, make, fill) {
  while (parent.children.length > items.length) parent.lastElementChild.remove();
  while (parent.children.length < items.length) parent.append(make());
  items.forEach((item, index) => fill(parent.children[index], item));
}
