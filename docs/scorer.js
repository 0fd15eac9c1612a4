// Ranks the pages that the search finds: a page counts for each word that it has, the more the fewer pages
// have the word. No word is required, since a line of the log also holds names that no page knows.

Search.performTermsSearch = (words) => {
  const { docnames, titles, filenames, terms, titleterms } = Search._index;
  const scores = new Array(docnames.length).fill(0);
  const count = (index, word) => {
    const pages = Object.hasOwn(index, word) ? [index[word]].flat() : [];
    for (const page of pages) scores[page] += Math.log(1 + docnames.length / pages.length);
  };
  for (const word of words) {
    count(terms, word);
    count(titleterms, word);
  }
  const least = Math.max(...scores) / 2;
  return scores.map((score, page) => [docnames[page], titles[page], "", null, score, filenames[page]])
    .filter((result) => result[4] > least);
};
