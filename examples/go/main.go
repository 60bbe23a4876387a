//go:build windows

// Indexes a folder, searches it while the index grows, and lists the folder.
//
//	host FOLDER TEXT
package main

import (
	"errors"
	"fmt"
	"os"
	"time"

	"host/systemsearch"
)

// finish waits for the query's end. A program with a window would poll from a timer instead.
func finish(query *systemsearch.Query) systemsearch.Outcome {
	outcome := query.Poll()
	for outcome.State == systemsearch.QueryRunning {
		time.Sleep(time.Millisecond)
		outcome = query.Poll()
	}
	return outcome
}

// printResults prints a line for each result: kind, size, seconds since 1970, path; "-" for what
// is not known.
func printResults(title string, query *systemsearch.Query, outcome systemsearch.Outcome) {
	incomplete := ""
	if outcome.IndexIncomplete != 0 {
		incomplete = ", incomplete"
	}
	fmt.Printf("%s: %d of %d in %d%s\n", title, outcome.Count, outcome.Matched,
		outcome.IndexEntries, incomplete)
	for index := uint32(0); index < outcome.Count; index++ {
		result := query.Result(index)
		kind, size, modified := "file", "-", "-"
		if result.Kind == systemsearch.KindFolder {
			kind = "folder"
		}
		if result.Size != nil {
			size = fmt.Sprint(*result.Size)
		}
		if result.Modified != nil {
			modified = fmt.Sprint(*result.Modified)
		}
		fmt.Printf("%s\t%s\t%s\t%s\n", kind, size, modified, result.Path)
	}
}

// searchOnce searches what is indexed now, and reports whether the index was finished.
func searchOnce(engine *systemsearch.Engine, text string) (finished bool, err error) {
	build := engine.Progress()
	if build.State == systemsearch.EngineFailed {
		return false, errors.New(engine.Error())
	}
	query, started := engine.Search(text)
	if !started {
		return false, errors.New("the search did not start")
	}
	defer query.Destroy()
	outcome := finish(query)
	if outcome.State != systemsearch.QueryDone {
		return false, errors.New("the search failed")
	}
	if build.State == systemsearch.EngineRunning {
		fmt.Fprintf(os.Stderr, "%d matches in the first %d entries\n", outcome.Matched,
			outcome.IndexEntries)
		return false, nil
	}
	fmt.Printf("indexed %d, skipped %d\n", build.Entries, build.Skipped)
	printResults("search", query, outcome)
	return true, nil
}

func list(folder string) error {
	query, started := systemsearch.ListFolder(folder, "")
	if !started {
		return errors.New("the listing did not start")
	}
	defer query.Destroy()
	outcome := finish(query)
	if outcome.State != systemsearch.QueryDone {
		return errors.New("the folder cannot be listed")
	}
	printResults("list", query, outcome)
	return nil
}

func run(folder, text string) error {
	if err := systemsearch.Load(); err != nil {
		return err
	}
	engine, created := systemsearch.Create()
	if !created {
		return errors.New("there is not enough memory")
	}
	defer engine.Destroy()
	if !engine.Start(folder, "", false) {
		return errors.New("the build did not start")
	}
	for {
		finished, err := searchOnce(engine, text)
		if err != nil {
			return err
		}
		if finished {
			return list(folder)
		}
		time.Sleep(20 * time.Millisecond)
	}
}

func main() {
	if len(os.Args) != 3 {
		fmt.Fprintln(os.Stderr, "usage: host FOLDER TEXT")
		os.Exit(2)
	}
	if err := run(os.Args[1], os.Args[2]); err != nil {
		fmt.Fprintln(os.Stderr, err)
		os.Exit(1)
	}
}
