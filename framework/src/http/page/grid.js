// The table of rows: sorted by a click on a column, updated in place.

import {element, setAttribute, setText, showList} from './dom.js';
import * as format from './format.js';

const isNumber = (column) => column.type.startsWith('int');

export class Grid {
  constructor(table) {
    this.head = table.tHead.rows[0];
    this.body = table.tBodies[0];
    this.result = null;
    this.sortColumn = null;
    this.descending = false;
  }

  /** Forgets rows and sorting, for another table. */
  clear() {
    this.result = null;
    this.sortColumn = null;
    this.descending = false;
    this.head.replaceChildren();
    this.body.replaceChildren();
  }

  show(result) {
    this.result = result;
    this.showHead();
    this.showBody();
  }

  sortBy(name) {
    this.descending = this.sortColumn === name && !this.descending;
    this.sortColumn = name;
    this.show(this.result);
  }

  showHead() {
    const make = () => {
      const button = element('button', {type: 'button'});
      button.addEventListener('click', () => this.sortBy(button.dataset.column));
      return element('th', {scope: 'col'}, button);
    };
    showList(this.head, this.result.columns, make, (cell, column) => {
      const button = cell.firstElementChild;
      button.dataset.column = column.name;
      setText(button, column.name);
      setAttribute(button, 'title', `${column.name}, ${column.type}. Press to sort.`);
      cell.className = isNumber(column) ? 'number' : '';
      const order = this.descending ? 'descending' : 'ascending';
      setAttribute(cell, 'aria-sort', this.sortColumn === column.name ? order : null);
    });
  }

  showBody() {
    const {columns, samples} = this.result;
    showList(this.body, this.sorted(), () => element('tr'), (line, row) => {
      setAttribute(line, 'data-state', samples[row.sample].state);
      showList(line, columns, () => element('td'), (cell, column) => {
        const value = row.values[column.name];
        const missing = value === null;
        setText(cell, missing ? '–' : isNumber(column) ? format.number(value) : value);
        const kind = isNumber(column) ? 'number' : '';
        cell.className = missing ? `${kind} none` : kind;
        setAttribute(cell, 'title', !missing && value.length > 50 ? value : null);
      });
    });
  }

  sorted() {
    const name = this.sortColumn;
    if (name === null) return this.result.rows;
    const sign = this.descending ? -1 : 1;
    return [...this.result.rows].sort((one, other) => {
      const a = one.values[name];
      const b = other.values[name];
      if (a === null || b === null) return (a === null) - (b === null);
      return sign * (typeof a === 'number' ? a - b : a.localeCompare(b));
    });
  }
}
