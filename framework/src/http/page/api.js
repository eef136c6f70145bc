// Asks the agent. Everything that goes wrong becomes an ApiError with a sentence for the user.

export class ApiError extends Error {
  /** @param {{title?: string, detail?: string, status?: number, position?: number,
   *   nearest?: string, parameter?: string}} problem */
  constructor(problem) {
    super(problem.detail || problem.title || 'The agent gave no reason.');
    this.problem = problem;
  }
}

/** Reads a JSON document. Throws ApiError; passes on the AbortError of `signal`. */
export async function read(path, signal) {
  let response;
  try {
    response = await fetch(path, {signal, headers: {Accept: 'application/json'}});
  } catch (error) {
    if (error.name === 'AbortError') throw error;
    throw new ApiError({status: 0, detail: 'The agent does not answer. Trying again …'});
  }
  let document;
  try {
    document = await response.json();
  } catch (error) {
    if (error.name === 'AbortError') throw error;
    throw new ApiError({status: response.status, detail: 'The answer could not be read.'});
  }
  if (!response.ok) throw new ApiError(document);
  return document;
}

/** The address of a table's rows. */
export function rowsAddress(view, limit) {
  const query = new URLSearchParams();
  if (view.subnode) query.set('subnode', view.subnode);
  if (view.where) query.set('where', view.where);
  query.set('limit', String(limit));
  return `/api/v1/tables/${encodeURIComponent(view.table)}/rows?${query}`;
}
