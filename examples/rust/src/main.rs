//! Indexes a folder, searches it while the index grows, and lists the folder.
//!
//!     host FOLDER TEXT
mod system_search;

use std::process::ExitCode;
use std::thread::sleep;
use std::time::Duration;

use system_search::{list_folder, Engine, EngineState, Kind, Outcome, Query, QueryState};

/// Waits for the query's end. A program with a window would poll from a timer instead.
fn finish(query: Query) -> Result<(Query, Outcome), String> {
    loop {
        let outcome = query.poll();
        match outcome.state {
            QueryState::Running => sleep(Duration::from_millis(1)),
            QueryState::Done => return Ok((query, outcome)),
            QueryState::Failed => return Err("The query failed.".into()),
        }
    }
}

/// One line for each result: kind, size, seconds since 1970, path; "-" for what is not known.
fn print_results(title: &str, query: &Query, outcome: &Outcome) {
    let known = |value: Option<String>| value.unwrap_or_else(|| "-".into());
    println!(
        "{title}: {} of {} in {}{}",
        outcome.count,
        outcome.matched,
        outcome.index_entries,
        if outcome.index_incomplete { ", incomplete" } else { "" }
    );
    for found in query.results() {
        println!(
            "{}\t{}\t{}\t{}",
            if found.kind == Kind::Folder { "folder" } else { "file" },
            known(found.size.map(|size| size.to_string())),
            known(found.modified.map(|modified| modified.to_string())),
            found.path
        );
    }
}

/// Searches until a search has seen the finished index, and prints what that one found.
fn search_while_indexing(engine: &Engine, text: &str) -> Result<(), String> {
    loop {
        let build = engine.progress();
        if build.state == EngineState::Failed {
            return Err(engine.error());
        }
        let query = engine.search(text).ok_or("The search did not start.")?;
        let (query, outcome) = finish(query)?;
        if build.state != EngineState::Running {
            println!("indexed {}, skipped {}", build.entries, build.skipped);
            print_results("search", &query, &outcome);
            return Ok(());
        }
        eprintln!("{} matches in the first {} entries", outcome.matched, outcome.index_entries);
        sleep(Duration::from_millis(20));
    }
}

fn run(folder: &str, text: &str) -> Result<(), String> {
    let mut engine = Engine::new().ok_or("There is not enough memory.")?;
    if !engine.start(folder, "", false) {
        return Err("The build did not start.".into());
    }
    search_while_indexing(&engine, text)?;

    let listing = list_folder(folder, "").ok_or("The listing did not start.")?;
    let (listing, outcome) = finish(listing)?;
    print_results("list", &listing, &outcome);
    Ok(())
}

fn main() -> ExitCode {
    let arguments: Vec<String> = std::env::args().collect();
    if arguments.len() != 3 {
        eprintln!("usage: host FOLDER TEXT");
        return ExitCode::from(2);
    }
    match run(&arguments[1], &arguments[2]) {
        Ok(()) => ExitCode::SUCCESS,
        Err(message) => {
            eprintln!("{message}");
            ExitCode::FAILURE
        }
    }
}
