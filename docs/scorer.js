// Ranks the pages that the search finds: a page counts for each word that it has, rare words most, and for the
// heading that has most of them, its title above all. No word is required, since a line of the log also holds
// names that no page knows. A result leads to that heading if it has enough of the words.

Search.performObjectSearch = () => []; // the reference has a heading for each operation

Search.performTermsSearch = (words) => {
  const { docnames, titles, filenames, terms, titleterms, alltitles } = Search._index;
  const pagesOf = (word) => [terms, titleterms].flatMap((index) => (Object.hasOwn(index, word) ? index[word] : []));
  const weight = (word) => Math.log(1 + docnames.length / (pagesOf(word).length || Infinity));
  const worth = (list) => list.reduce((sum, word) => sum + weight(word), 0);
  const results = docnames.map((name, page) => [name, titles[page], "", null, 0, filenames[page]]);
  for (const [heading, places] of Object.entries(alltitles)) {
    const held = splitQuery(heading.toLowerCase()).map(new Stemmer().stemWord);
    const shared = worth([...words].filter((word) => held.includes(word)));
    for (const [page, id] of places) {
      const result = results[page], path = [...new Set([titles[page], heading])];
      const score = shared / path.length;
      if (score > result[4] && shared > worth([...words]) * 0.45) result.splice(1, 2, path.join(" > "), `#${id}`);
      result[4] = Math.max(result[4], score);
    }
  }
  for (const word of words) for (const page of pagesOf(word)) results[page][4] += weight(word);
  const least = Math.max(...results.map((result) => result[4])) * 0.4;
  return results.filter((result) => result[4] > least);
};
